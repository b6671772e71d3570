// SPDX-License-Identifier: Apache-2.0
#include "actions.h"

namespace {

constexpr int MOST_TRIES = 50;
constexpr int PERCENT_SETTLED = 70;

const QList<Action>& allActions()
{
    static const QList<Action> all = DOCUMENT_ACTIONS + AGENT_ACTIONS + COMMAND_ACTIONS + REPLAY_ACTIONS + FILE_ACTIONS
        + SETTING_ACTIONS + REPLY_ACTIONS;
    return all;
}

const Action& choose(Random& random)
{
    static const int sum = [] {
        int weights = 0;
        for (const Action& action : allActions()) {
            weights += action.weight;
        }
        return weights;
    }();
    int left = random.below(sum);
    for (const Action& action : allActions()) {
        left -= action.weight;
        if (left < 0) {
            return action;
        }
    }
    return allActions().last();
}

} // namespace

void doSomething(World& world)
{
    for (int i = 0; i < MOST_TRIES; ++i) {
        const Action& action = choose(world.random);
        if (action.isCalm && !world.isSettled()) {
            world.settle();
            world.lookAtCalls();
        }
        world.journal.begin(QLatin1StringView(action.name));
        if (!action.run(world)) {
            world.journal.withdraw();
            continue;
        }
        world.lookAround();
        world.lookAtCalls();
        if (action.isCalm || world.random.chance(PERCENT_SETTLED)) {
            world.settle();
            world.lookAtCalls();
        } else {
            world.unsettle();
        }
        return;
    }
    qWarning("Nothing can be done any more");
}

RecorderInstance* anyTarget(World& world)
{
    RecorderInstance* instance = world.random.chance(85) ? world.anyInstanceThatIsOn() : nullptr;
    instance = instance ? instance : world.anyInstance();
    world.journal.note(world.label(instance));
    return instance;
}
