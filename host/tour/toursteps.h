// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_TOURSTEPS_H
#define CORVANE_TOUR_TOURSTEPS_H

#include <QtCore/QElapsedTimer>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

namespace tour {

// What came back from one step: an answer to print, and whether it is the right one.
struct Answer
{
    bool passed = false;
    QString text;

    static Answer yes(const QString& text) { return { true, text }; }
    static Answer no(const QString& text) { return { false, text }; }
};

// Runs steps one after another, prints and counts them. A step whose needs failed is not run and counts as failed.
class Steps
{
public:
    // key: the name by which later steps need this one. asked: what is printed.
    bool run(const QString& key, const QStringList& needs, const QString& asked, const std::function<Answer()>& act);

    int passed() const { return static_cast<int>(_passedKeys.size()); }
    int failed() const { return _failed; }
    QStringList failedSteps() const { return _failedSteps; }

private:
    QSet<QString> _passedKeys;
    QStringList _failedSteps;
    int _number = 0;
    int _failed = 0;
};

// Spins the event loop until the condition holds; true when it did within the time.
bool waitUntil(const std::function<bool()>& condition, int timeoutMs);
// Spins the event loop for the whole time; false as soon as the condition does not hold.
bool holds(const std::function<bool()>& condition, int durationMs);
// waitUntil() as an answer: "waited 5.0 s in vain for <what>" when it did not come; `then` makes the text when it did.
Answer await(
    const QString& what, const std::function<bool()>& condition, int timeoutMs, const std::function<QString()>& then);
// Microseconds since 1970 UTC.
qint64 nowUs();

} // namespace tour

#endif
