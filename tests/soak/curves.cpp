// SPDX-License-Identifier: Apache-2.0
#include "curves.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <algorithm>
#include <cmath>
#include <vector>

#include <unistd.h>

namespace soak {

namespace {

// All pairs of more points would take long and say no more.
constexpr qsizetype MOST_POINTS = 400;

// "VmRSS:     1234 kB"
qint64 statusNumber(const QByteArray& status, const char* field)
{
    const qsizetype at = status.indexOf(QByteArray("\n") + field + ":\t");
    if (at < 0) {
        return 0;
    }
    const qsizetype from = status.indexOf('\t', at) + 1;
    return status.mid(from, status.indexOf('\n', from) - from).trimmed().split(' ').first().toLongLong();
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

Holding Holding::of(qint64 process)
{
    Holding holding;
    const QString folder = QStringLiteral("/proc/%1/").arg(process);
    const QByteArray status = contentOf(folder + QStringLiteral("status"));
    if (process < 2 || status.isEmpty()) {
        return holding;
    }
    constexpr qint64 KIBI = 1024;
    holding.residentBytes = statusNumber(status, "VmRSS") * KIBI;
    holding.privateBytes = (statusNumber(status, "RssAnon") + statusNumber(status, "VmSwap")) * KIBI;
    holding.threads = static_cast<int>(statusNumber(status, "Threads"));
    holding.descriptors = static_cast<int>(
        QDir(folder + QStringLiteral("fd")).entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot).size());
    // After the name, which ends with ')': state, then 11 numbers, then the ticks in user and in system mode.
    const QByteArray stat = contentOf(folder + QStringLiteral("stat"));
    const QList<QByteArray> numbers = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    const auto ticks = static_cast<double>(numbers.value(11).toLongLong() + numbers.value(12).toLongLong());
    holding.cpuSeconds = ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
    return holding;
}

double medianSlope(const QList<double>& x, const QList<double>& y)
{
    std::vector<double> slopes;
    for (qsizetype i = 0; i < x.size(); ++i) {
        for (qsizetype j = i + 1; j < x.size(); ++j) {
            if (x[j] != x[i]) {
                slopes.push_back((y[j] - y[i]) / (x[j] - x[i]));
            }
        }
    }
    if (slopes.empty()) {
        return 0.0;
    }
    const auto middle = slopes.begin() + static_cast<std::ptrdiff_t>(slopes.size() / 2);
    std::nth_element(slopes.begin(), middle, slopes.end());
    return *middle;
}

QList<Sample> Curves::_secondHalf() const
{
    const int all = _samples.isEmpty() ? 0 : _samples.last().arrivals;
    QList<Sample> half;
    for (const Sample& sample : _samples) {
        if (sample.arrivals * 2 >= all && sample.arrivals < all) {
            half.append(sample);
        }
    }
    const qsizetype step = half.size() / MOST_POINTS + 1;
    QList<Sample> thinned;
    for (qsizetype i = 0; i < half.size(); i += step) {
        thinned.append(half[i]);
    }
    return thinned;
}

QList<Curves::Growth> Curves::growths() const
{
    const QList<Sample> half = _secondHalf();
    QList<Growth> growths;
    for (std::size_t program = 0; program < PROGRAMS.size(); ++program) {
        QList<double> arrivals;
        QList<double> bytes;
        for (const Sample& sample : half) {
            arrivals.append(sample.arrivals);
            bytes.append(static_cast<double>(sample.holdings[program].privateBytes));
        }
        Growth growth { QLatin1String(PROGRAMS[program]), medianSlope(arrivals, bytes) };
        growth.bytes = half.isEmpty() ? 0.0 : growth.bytesPerArrival * (arrivals.last() - arrivals.first());
        growths.append(growth);
    }
    return growths;
}

QStringList Curves::faults(const Bounds& bounds) const
{
    QStringList faults;
    const QList<Sample> half = _secondHalf();
    if (half.size() < 3) {
        return { QStringLiteral("only %1 samples in the second half: that tells nothing").arg(half.size()) };
    }
    const double allowed
        = std::max(bounds.bytesWhatever, bounds.bytesPerArrival * (half.last().arrivals - half.first().arrivals));
    for (const Growth& growth : growths()) {
        if (growth.bytes > allowed) {
            faults.append(QStringLiteral("the %1 grows: %2 kB for 1000 arrivals, %3 MB over the second half")
                    .arg(growth.program)
                    .arg(growth.bytesPerArrival, 0, 'f', 0)
                    .arg(growth.bytes / MEGA, 0, 'f', 1));
        }
    }
    for (std::size_t program = 0; program < PROGRAMS.size(); ++program) {
        const Holding& first = before.holdings[program];
        const Holding& last = after.holdings[program];
        const auto compare = [&](const char* what, int had, int has, int more) {
            if (has > had + more || has == 0) {
                faults.append(QStringLiteral("the %1 had %2 %3 before the crowd came and has %4 after it went")
                        .arg(QLatin1String(PROGRAMS[program]))
                        .arg(had)
                        .arg(QLatin1String(what))
                        .arg(has));
            }
        };
        compare("descriptors", first.descriptors, last.descriptors, bounds.descriptors);
        compare("threads", first.threads, last.threads, bounds.threads);
    }
    return faults;
}

} // namespace soak
