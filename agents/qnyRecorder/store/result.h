// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

namespace recorder {

// What became of a request to a store. Unknown means that it may or may not have happened (a commit that reported an
// input/output error, a server that did not answer in time): doing it again is harmless, every write is by key.
enum class Outcome
{
    Done,
    Failed,
    Unknown
};

enum class StoreError
{
    None,
    Unreachable, // no such file or server, no permission; worth trying again
    Full, // no space left: recording must end
    NotFound, // no such record
    InUse, // being recorded, read or owned by somebody else
    NewerVersion, // written by a newer program
    Damaged, // what is stored cannot be read
    Refused, // the request makes no sense now
    Overflow, // there is no room for these events, and waiting for it is not worth it: they are lost, recording goes on
    Other
};

// Outcome, kind and one sentence that a person can act on. Contextually true when done.
struct [[nodiscard]] StoreResult
{
    Outcome outcome = Outcome::Done;
    StoreError error = StoreError::None;
    std::string message;

    explicit operator bool() const { return outcome == Outcome::Done; }

    static StoreResult done() { return {}; }
    static StoreResult failed(StoreError error, std::string message)
    {
        return { Outcome::Failed, error, std::move(message) };
    }
    static StoreResult unknown(StoreError error, std::string message)
    {
        return { Outcome::Unknown, error, std::move(message) };
    }
};

} // namespace recorder
