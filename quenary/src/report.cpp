// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include "text.h"

#include <cstdio>
#include <mutex>
#include <shared_mutex>

namespace qny {

namespace {

// A plain array and not a std::string: it must outlive every other thread-local object of a thread that is ending.
thread_local char errorText[1024] = "";

// Held shared while the handler runs, so that a handler that was replaced does not run any more.
std::shared_mutex* logMutex = new std::shared_mutex; // outlives every thread that may still log
qny_log_fn logHandler = nullptr;
void* logUserData = nullptr;

} // namespace

qny_result_t fail(qny_result_t result, std::string sentence)
{
    const size_t size = std::min(sentence.size(), sizeof errorText - 1);
    std::memcpy(errorText, sentence.data(), size);
    errorText[size] = '\0';
    return result;
}

const char* lastError()
{
    return errorText;
}

void setLogHandler(qny_log_fn handler, void* userData)
{
    const std::unique_lock lock(*logMutex);
    logHandler = handler;
    logUserData = userData;
}

void log(qny_log_level_t level, const std::string& message)
{
    const std::shared_lock lock(*logMutex);
    if (logHandler) {
        logHandler(level, message.c_str(), logUserData);
    } else if (level >= QNY_LOG_WARNING) {
        std::fprintf(stderr, "quenary: %s: %s\n", level == QNY_LOG_ERROR ? "error" : "warning", message.c_str());
    }
}

void renewLogAfterFork()
{
    // Whoever held the old one has no thread in this process.
    logMutex = new std::shared_mutex;
}

std::string printable(std::string_view text)
{
    std::string out(text.substr(0, 80));
    const bool broken = !isUtf8(out);
    for (char& c : out) {
        const auto code = static_cast<unsigned char>(c);
        if (code < 0x20 || code == 0x7F || (broken && code >= 0x80)) {
            c = '?';
        }
    }
    return out;
}

} // namespace qny
