// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <vector>

/// What the growth benchmarks have in common: the sizes, medians, and a table with goals.
///
/// A busy machine slows everything that runs at one moment alike, by its caches too: measures that are compared belong
/// into the same round, and the median of several rounds is what counts.
namespace Measures {

inline constexpr std::array<int, 3> SIZES { 1000, 10000, 100000 };

/// Nanoseconds that this thread has been working.
inline double threadTime()
{
    timespec time {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// Nanoseconds that `work` takes of this thread; the time of others, on a busy machine, is not counted.
template <typename Work> double timed(const Work& work)
{
    const double begin = threadTime();
    work();
    return threadTime() - begin;
}

inline double median(std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    return samples.empty() ? NAN : samples.at(samples.size() / 2);
}

/// One figure for each of SIZES, from the samples of several rounds.
class Series
{
public:
    void add(size_t size, double sample) { _samples.at(size).push_back(sample); }

    double median(size_t size) const { return Measures::median(_samples.at(size)); }

    std::array<double, SIZES.size()> medians() const
    {
        std::array<double, SIZES.size()> medians {};
        for (size_t size = 0; size < SIZES.size(); ++size) {
            medians.at(size) = median(size);
        }
        return medians;
    }

private:
    std::array<std::vector<double>, SIZES.size()> _samples;
};

inline QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

/// Prints the head of a table of which each line has a figure for each of SIZES.
inline void printHead(const QString& title, const QString& ratio)
{
    out() << '\n' << title.leftJustified(58);
    for (const int size : SIZES) {
        out() << QString::number(size).rightJustified(12);
    }
    out() << ratio.rightJustified(12) << Qt::endl;
}

inline void printLine(const QString& name, const std::array<double, SIZES.size()>& figures,
    std::optional<double> ratio = {}, std::optional<double> goal = {})
{
    out() << name.leftJustified(58);
    for (const double figure : figures) {
        out() << QString::number(figure, 'f', 1).rightJustified(12);
    }
    if (ratio) {
        out() << QString::number(*ratio, 'f', 2).rightJustified(12);
    }
    if (goal) {
        out() << QStringLiteral("   goal %1: %2").arg(*goal, 0, 'f', 2).arg(*ratio <= *goal ? "met" : "MISSED");
    }
    out() << Qt::endl;
}

/// Ends the program when a result is wrong: a figure of wrong work means nothing.
inline void must(bool isRight, const char* what)
{
    if (!isRight) {
        out() << "wrong result: " << what << Qt::endl;
        std::exit(1);
    }
}

} // namespace Measures
