// SPDX-License-Identifier: Apache-2.0
#include "journal.h"

#include <algorithm>
#include <csignal>
#include <cstdio>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#include <sanitizer/common_interface_defs.h>
#endif

namespace {

const Journal* currentJournal = nullptr;
const Messages* currentMessages = nullptr;

// The process ends anyhow: what may not be done in a handler of signals costs nothing more.
void printCurrentJournal()
{
    if (currentJournal) {
        currentJournal->print();
    }
    if (currentMessages) {
        currentMessages->print();
    }
}

// From a recorder or a file, at whatever later step the module comes to read it; and what the platform says of dialogs.
const char* const ALWAYS_IN_ORDER[] = {
    "unknown record id",
    "An error occured while parsing the agents list json",
    "Invalid JSON: JSON must define an array of agents",
    "This plugin does not support",
};

} // namespace

// ---- journal ----------------------------------------------------------------------------------------------------

Journal::Journal(quint64 seed)
    : _seed(seed)
{
    currentJournal = this;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    __sanitizer_set_death_callback(&printCurrentJournal);
#endif
    std::signal(SIGABRT, [](int) {
        printCurrentJournal();
        std::signal(SIGABRT, SIG_DFL);
        std::raise(SIGABRT);
    });
}

Journal::~Journal()
{
    currentJournal = nullptr;
    std::signal(SIGABRT, SIG_DFL);
}

void Journal::begin(const QString& what)
{
    _lines[static_cast<size_t>(_steps % STEPS_TOLD)] = what.toUtf8();
    ++_steps;
}

void Journal::note(const QString& what)
{
    _lines[static_cast<size_t>((_steps + STEPS_TOLD - 1) % STEPS_TOLD)] += ' ' + what.toUtf8();
}

void Journal::withdraw()
{
    --_steps;
}

void Journal::print() const
{
    std::fprintf(stderr, "seed %llu, step %d; the last steps:\n", static_cast<unsigned long long>(_seed), _steps);
    for (int step = std::max(0, _steps - STEPS_TOLD); step < _steps; ++step) {
        std::fprintf(stderr, "  %6d %s\n", step + 1, _lines[static_cast<size_t>(step % STEPS_TOLD)].constData());
    }
    std::fflush(stderr);
}

// ---- messages ---------------------------------------------------------------------------------------------------

Messages::Messages()
{
    currentMessages = this;
}

Messages::~Messages()
{
    currentMessages = nullptr;
}

void Messages::print() const
{
    const QStringList problems = _log.problems();
    for (const QString& problem : problems) {
        std::fprintf(stderr, "  %s\n", qPrintable(problem));
    }
}

void Messages::allow(const QString& text)
{
    if (!_allowed.contains(text)) {
        _allowed.append(text);
    }
}

QStringList Messages::takeUnexpected()
{
    QStringList problems = _log.problems();
    if (!problems.isEmpty()) {
        _log.clear();
    }
    problems.removeIf([this](const QString& problem) {
        const auto isPart = [&problem](const auto& text) { return problem.contains(QString(text)); };
        return std::any_of(_allowed.cbegin(), _allowed.cend(), isPart)
            || std::any_of(std::begin(ALWAYS_IN_ORDER), std::end(ALWAYS_IN_ORDER), isPart);
    });
    return problems;
}
