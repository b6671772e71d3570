// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "world.h"

/// Something that a user, the host or a recorder does. It chooses what it acts on, announces the messages that this may
/// cause, and tells the world what is to be expected of it.
struct Action
{
    const char* name;
    /// How often, beside the others.
    int weight;
    /// False when there was nothing to act on.
    bool (*run)(World& world);
    /// Only when everything that was posted has been delivered, and everything that it posts is delivered at once.
    bool isCalm = false;
};

// What is left out, because no page may ask for it and the module asserts that none does: a null record to play, pause,
// stop, rename, filter, speed up or download; a move without a current record; an empty name, or one of blanks only; an
// import while off; a setting of an instance without launch line; a null instance to delete from a registry. The lists
// have invokables of their own that only their owners use. `agentsFilterState` may be written and is then no summary any
// more, as it is meant.
extern const QList<Action> DOCUMENT_ACTIONS;
extern const QList<Action> AGENT_ACTIONS;
extern const QList<Action> COMMAND_ACTIONS;
extern const QList<Action> REPLAY_ACTIONS;
extern const QList<Action> FILE_ACTIONS;
extern const QList<Action> SETTING_ACTIONS;
extern const QList<Action> REPLY_ACTIONS;

/// Chooses one of all actions and does it, and settles afterwards or does not. Counts as a step.
void doSomething(World& world);

/// An instance, noted in the journal; mostly one that runs. Null when there is none.
RecorderInstance* anyTarget(World& world);
