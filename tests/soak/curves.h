// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SOAK_CURVES_H
#define TESTS_SOAK_CURVES_H

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <array>

namespace soak {

inline constexpr double MEGA = 1e6;

// What one process holds at a moment, as Linux counts it. All 0: it was not there.
struct Holding
{
    qint64 residentBytes = 0;
    qint64 privateBytes = 0; // anonymous: its heap and stacks
    int descriptors = 0;
    int threads = 0;
    double cpuSeconds = 0.0; // since it began

    static Holding of(qint64 process);
};

inline constexpr std::array<const char*, 4> PROGRAMS { "host", "recorder", "launcher", "crowd" };

struct Sample
{
    double seconds = 0.0; // since the crowd was let come
    int arrivals = 0; // until then
    int alive = 0;
    std::array<Holding, PROGRAMS.size()> holdings; // of each program, in its order
    qint64 storeBytes = 0; // on the disk, of all recorders
};

// What may grow, and by how much.
struct Bounds
{
    double bytesPerArrival = 1'000.0; // of private memory, over the second half
    double bytesWhatever = 4e6; // less than that is not told from chance in a short run
    int descriptors = 2; // more when the crowd has gone than before it came
    int threads = 2;
};

// The slope of the line through points that half of them may lie beside: the median of the slopes of all pairs. 0 with
// less than two points.
double medianSlope(const QList<double>& x, const QList<double>& y);

// Everything that was measured, and whether it is as it should be.
class Curves
{
public:
    // Before the crowd came, and when it had gone and everything was done once more.
    Sample before;
    Sample after;
    void add(const Sample& sample) { _samples.append(sample); }
    const QList<Sample>& samples() const { return _samples; }

    struct Growth
    {
        QString program;
        double bytesPerArrival = 0.0;
        double bytes = 0.0; // over the second half, by that slope
    };
    QList<Growth> growths() const;
    // A sentence for each thing that is not within its bounds.
    QStringList faults(const Bounds& bounds) const;

    // A line every so many samples, so that there are about a dozen.
    QString table() const;
    bool writeCsv(const QString& path) const;
    bool writeSvg(const QString& path) const;

private:
    QList<Sample> _secondHalf() const;

    QList<Sample> _samples;
};

} // namespace soak

#endif
