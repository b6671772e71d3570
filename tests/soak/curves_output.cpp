// SPDX-License-Identifier: Apache-2.0
#include "curves.h"

#include <QtCore/QFile>
#include <QtCore/QTextStream>

#include <algorithm>
#include <array>
#include <functional>

namespace soak {

namespace {

constexpr qsizetype LINES = 12;

struct Panel
{
    const char* title;
    std::function<double(const Holding&)> value;
};

const std::array<Panel, 3>& panels()
{
    static const std::array<Panel, 3> all { {
        { "private memory, MB",
            [](const Holding& holding) { return static_cast<double>(holding.privateBytes) / MEGA; } },
        { "descriptors", [](const Holding& holding) { return static_cast<double>(holding.descriptors); } },
        { "threads", [](const Holding& holding) { return static_cast<double>(holding.threads); } },
    } };
    return all;
}

QString row(const QString& when, const Sample& sample)
{
    QString line = QStringLiteral("%1 %2 %3").arg(when, 8).arg(sample.arrivals, 8).arg(sample.alive, 5);
    for (const Holding& holding : sample.holdings) {
        line += QStringLiteral(" | %1 %2 %3 %4")
                    .arg(static_cast<double>(holding.residentBytes) / MEGA, 6, 'f', 1)
                    .arg(static_cast<double>(holding.privateBytes) / MEGA, 6, 'f', 1)
                    .arg(holding.descriptors, 4)
                    .arg(holding.threads, 3);
    }
    return line + QStringLiteral(" | %1\n").arg(static_cast<double>(sample.storeBytes) / MEGA, 6, 'f', 1);
}

QString clock(double seconds)
{
    const int whole = static_cast<int>(seconds);
    return QStringLiteral("%1:%2").arg(whole / 60, 2, 10, QLatin1Char('0')).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

QString Curves::table() const
{
    QString head = QStringLiteral("%1 %2 %3").arg(QString(), 8).arg(QString(), 8).arg(QString(), 5);
    QString units = QStringLiteral("%1 %2 %3")
                        .arg(QStringLiteral("min:s"), 8)
                        .arg(QStringLiteral("arrivals"), 8)
                        .arg(QStringLiteral("alive"), 5);
    for (const char* program : PROGRAMS) {
        head += QStringLiteral(" | %1").arg(QLatin1String(program), -22);
        units += QStringLiteral(" | RSS MB  priv   fd thr");
    }
    QString text = head + QStringLiteral(" | store\n") + units + QStringLiteral(" |     MB\n");
    text += row(QStringLiteral("before"), before);
    const qsizetype step = std::max<qsizetype>(1, _samples.size() / LINES);
    for (qsizetype i = step - 1; i < _samples.size(); i += step) {
        text += row(clock(_samples[i].seconds), _samples[i]);
    }
    return text + row(QStringLiteral("after"), after);
}

bool Curves::writeCsv(const QString& path) const
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    QTextStream text(&file);
    text << "seconds;arrivals;alive;store_bytes";
    for (const char* program : PROGRAMS) {
        for (const char* what : { "resident_bytes", "private_bytes", "descriptors", "threads", "cpu_seconds" }) {
            text << ';' << program << '_' << what;
        }
    }
    text << '\n';
    for (const Sample& sample : _samples) {
        text << sample.seconds << ';' << sample.arrivals << ';' << sample.alive << ';' << sample.storeBytes;
        for (const Holding& holding : sample.holdings) {
            text << ';' << holding.residentBytes << ';' << holding.privateBytes << ';' << holding.descriptors << ';'
                 << holding.threads << ';' << holding.cpuSeconds;
        }
        text << '\n';
    }
    text.flush();
    return file.error() == QFileDevice::NoError;
}

// One picture above the other: over the arrivals, a line for each program.
bool Curves::writeSvg(const QString& path) const
{
    constexpr int WIDTH = 900;
    constexpr int HEIGHT = 260;
    constexpr int LEFT = 60;
    constexpr int TOP = 30;
    constexpr int PLOT_WIDTH = WIDTH - LEFT - 130;
    constexpr int PLOT_HEIGHT = HEIGHT - TOP - 30;
    static constexpr std::array<const char*, PROGRAMS.size()> COLORS { "#1f6feb", "#d1242f", "#1a7f37", "#8250df" };
    QFile file(path);
    if (_samples.isEmpty() || !file.open(QIODevice::WriteOnly)) {
        return false;
    }
    const int most = std::max(1, _samples.last().arrivals);
    QTextStream text(&file);
    text << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << WIDTH << "\" height=\""
         << HEIGHT * static_cast<int>(panels().size()) << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
         << "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    int top = TOP;
    for (const Panel& panel : panels()) {
        double highest = 1.0;
        for (const Sample& sample : _samples) {
            for (const Holding& holding : sample.holdings) {
                highest = std::max(highest, panel.value(holding));
            }
        }
        text << "<text x=\"" << LEFT << "\" y=\"" << top - 8 << "\">" << panel.title << "</text>\n"
             << "<path d=\"M" << LEFT << ' ' << top << "v" << PLOT_HEIGHT << "h" << PLOT_WIDTH
             << "\" fill=\"none\" stroke=\"black\"/>\n"
             << "<text x=\"" << LEFT - 6 << "\" y=\"" << top + 10 << "\" text-anchor=\"end\">"
             << QString::number(highest, 'f', 0) << "</text>\n"
             << "<text x=\"" << LEFT + PLOT_WIDTH << "\" y=\"" << top + PLOT_HEIGHT + 16 << "\" text-anchor=\"end\">"
             << most << " arrivals</text>\n";
        for (std::size_t program = 0; program < PROGRAMS.size(); ++program) {
            text << "<polyline fill=\"none\" stroke=\"" << COLORS[program] << "\" points=\"";
            double y = 0.0;
            for (const Sample& sample : _samples) {
                y = top + PLOT_HEIGHT * (1.0 - panel.value(sample.holdings[program]) / highest);
                text << LEFT + static_cast<double>(PLOT_WIDTH) * sample.arrivals / most << ',' << y << ' ';
            }
            text << "\"/>\n<text fill=\"" << COLORS[program] << "\" x=\"" << LEFT + PLOT_WIDTH + 8 << "\" y=\"" << y + 4
                 << "\">" << PROGRAMS[program] << "</text>\n";
        }
        top += HEIGHT;
    }
    text << "</svg>\n";
    text.flush();
    return file.error() == QFileDevice::NoError;
}

} // namespace soak
