// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace launcher {

/// First argument of the program when it is to be a keeper, and the descriptor on which one reports.
constexpr char KEEPER_ARGUMENT[] = "--keep";
constexpr int KEEPER_REPORT = 3;

/// The body of a keeper: the parent of one agent, in a process of its own. It stays when the launcher goes, so that the
/// agent keeps somebody who reads its output and who learns how it ended.
///
/// Takes its KeeperOrder from standard input; reports the agent's process id on KEEPER_REPORT, as a line, or nothing
/// when it could not be started; writes RunningLaunch and LaunchEnd. SIGTERM, SIGINT and SIGHUP make it ask the agent
/// to end, and kill it when it does not in time. Returns the exit status. Single-threaded: it forks.
int runKeeper();

} // namespace launcher
