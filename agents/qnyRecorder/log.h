// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace recorder {

/// Sends Qt's and the network library's messages to standard error, one line each with the local time. Debug messages
/// only when verbose. Called once, before any other thread runs.
void installLog(bool verbose);

} // namespace recorder
