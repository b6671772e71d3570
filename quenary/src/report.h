// SPDX-License-Identifier: Apache-2.0
// What the library says: the calling thread's last error, and the log.
#pragma once

#include "quenary.h"

#include <string>

namespace qny {

// Keeps the sentence for qny_last_error() and passes the result on: `return fail(QNY_ERROR_NAME, "…")`.
qny_result_t fail(qny_result_t result, std::string sentence);
const char* lastError();

void setLogHandler(qny_log_fn handler, void* userData);
void log(qny_log_level_t level, const std::string& message);
inline void logDebug(const std::string& message)
{
    log(QNY_LOG_DEBUG, message);
}
inline void logInfo(const std::string& message)
{
    log(QNY_LOG_INFO, message);
}
inline void logWarning(const std::string& message)
{
    log(QNY_LOG_WARNING, message);
}
inline void logError(const std::string& message)
{
    log(QNY_LOG_ERROR, message);
}

// In a forked child, before it logs.
void renewLogAfterFork();

// A text from outside made fit for a log line: control characters and broken UTF-8 as '?', cut at 80 bytes.
std::string printable(std::string_view text);

} // namespace qny
