// SPDX-License-Identifier: Apache-2.0
#include "toursteps.h"

#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

#include <chrono>
#include <cstdio>

namespace tour {

namespace {

constexpr int pollMs = 5;

// Spins the event loop until the condition is `ending` or the time is over; whether the condition came to it.
bool spinUntil(const std::function<bool()>& condition, bool ending, int timeoutMs)
{
    if (condition() == ending) {
        return true;
    }
    QEventLoop loop;
    QElapsedTimer elapsed;
    elapsed.start();
    bool isReached = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        isReached = condition() == ending;
        if (isReached || elapsed.elapsed() >= timeoutMs) {
            loop.quit();
        }
    });
    poll.start(pollMs);
    loop.exec();
    return isReached;
}

} // namespace

bool Steps::run(const QString& key, const QStringList& needs, const QString& asked, const std::function<Answer()>& act)
{
    ++_number;
    std::printf("[%2d] %s\n", _number, qPrintable(asked));
    std::fflush(stdout);
    QElapsedTimer elapsed;
    elapsed.start();
    Answer answer;
    QStringList missing;
    for (const QString& need : needs) {
        if (!_passedKeys.contains(need)) {
            missing.append(need);
        }
    }
    if (missing.isEmpty()) {
        answer = act();
    } else {
        answer = Answer::no(
            QStringLiteral("not tried: it needs what failed before (%1)").arg(missing.join(QLatin1String(", "))));
    }
    std::printf("     %s %s (%lld ms)\n", answer.passed ? "->" : "FAILED:", qPrintable(answer.text),
        static_cast<long long>(elapsed.elapsed()));
    std::fflush(stdout);
    if (answer.passed) {
        _passedKeys.insert(key);
    } else {
        ++_failed;
        _failedSteps.append(QStringLiteral("[%1] %2").arg(_number).arg(asked));
    }
    return answer.passed;
}

bool waitUntil(const std::function<bool()>& condition, int timeoutMs)
{
    return spinUntil(condition, true, timeoutMs);
}

bool holds(const std::function<bool()>& condition, int durationMs)
{
    return !spinUntil(condition, false, durationMs);
}

Answer await(
    const QString& what, const std::function<bool()>& condition, int timeoutMs, const std::function<QString()>& then)
{
    if (!waitUntil(condition, timeoutMs)) {
        return Answer::no(QStringLiteral("waited %1 s in vain for %2").arg(timeoutMs / 1000.0, 0, 'f', 1).arg(what));
    }
    return Answer::yes(then());
}

qint64 nowUs()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

} // namespace tour
