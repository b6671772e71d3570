// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../network/agentdirectory.h"
#include "../store/store.h"
#include "answers.h"

#include <chrono>
#include <vector>

namespace recorder {

/// The list of records: asked for, and sent unasked to hosts of a recorder without a database, which do not ask.
/// On the command thread.
class RecordsDesk
{
public:
    struct Dependencies
    {
        AgentDirectory& directory;
        Answers& answers;
        Store& store;
        bool hasDatabase; ///< the hosts ask for the list themselves
    };

    explicit RecordsDesk(Dependencies dependencies);

    void answerRecords(const Caller& caller, const QByteArray& namePart);
    void rename(const Call& call);
    /// Of a record that nobody uses.
    void remove(const QString& recordUuid);

    /// The host was just told the context.
    void onContextAnswered(const Caller& caller);
    /// To be called some twenty times a second.
    void tick();

private:
    QByteArray listJson(const QByteArray& namePart);

    Dependencies _with;
    std::vector<Caller> _hosts; // under their plain tokens; only without a database
    uint64_t _sentRevision = 0;
    std::chrono::steady_clock::time_point _nextLook;
};

} // namespace recorder
