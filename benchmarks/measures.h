// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QTextStream>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <vector>

/// What the growth benchmarks have in common: the sizes, medians, and a table with goals.
///
/// A busy machine slows everything that runs at one moment alike: measures that are compared belong into the same
/// round, and the median of several rounds is what counts.
namespace Measures {

inline constexpr std::array<int, 3> SIZES { 1000, 10000, 100000 };

/// Nanoseconds that `work` takes.
template <typename Work> double timed(const Work& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed());
}

/// One figure for each of SIZES, from the samples of several rounds.
class Series
{
public:
    void add(size_t size, double sample) { _samples.at(size).push_back(sample); }

    double median(size_t size) const
    {
        std::vector<double> sorted = _samples.at(size);
        std::sort(sorted.begin(), sorted.end());
        return sorted.empty() ? NAN : sorted.at(sorted.size() / 2);
    }

    double least(size_t size) const
    {
        const std::vector<double>& samples = _samples.at(size);
        return samples.empty() ? NAN : *std::min_element(samples.begin(), samples.end());
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
