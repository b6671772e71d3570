// SPDX-License-Identifier: Apache-2.0
// What a launch line costs when a class instance has 100, 400 and 1,600 of them, each of which is compared with those
// that are there: when the network meets it, and when a registry is made of it. Beside it, in the same round, the same
// lines in a class instance each, where none is compared with any: the limit.
#include "measures.h"

#include "modulefixture.h"

#include <library.h>
#include <reservedagentandtoolfamilies.h>
#include <splitcommandline.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtWidgets/QApplication>

using namespace Measures;

namespace {

constexpr std::array<int, 3> LINES { 100, 400, 1600 };
constexpr int ROUNDS = 7;
constexpr double GOAL = 2.0;

/// As those of one recorder that was started with many databases: alike but for one argument in the middle. With a
/// password, the network shows it masked.
QStringList newLines(int count, bool isMasked)
{
    QStringList lines;
    for (int i = 0; i < count; ++i) {
        QStringList arguments { "--name", "Recorder", "--cassandra", QStringLiteral("db%1:9042").arg(i), "--keyspace",
            "plant_in_the_north", "--verbose", "--cassandra_username", "somebody" };
        if (isMasked) {
            arguments.append({ "--cassandra_password", SplitCommandLine::MASKED_VALUE });
        }
        lines.append(ModuleFixture::commandLine(arguments));
    }
    return lines;
}

struct Times
{
    double met = 0; // nanoseconds, of all lines
    double made = 0;
};

Times measure(SystemViewClass* recorderClass, const QStringList& lines, bool isEachAlone)
{
    SystemView* const view = SystemDocumentHandler::instance()->currentSystemView();
    std::vector<std::unique_ptr<SystemViewClassInstance>> instances;
    for (qsizetype i = 0; i < (isEachAlone ? lines.size() : 1); ++i) {
        instances.push_back(std::make_unique<SystemViewClassInstance>(
            QString(), recorderClass, QStringLiteral("Recorder"), QPointF(), view));
        instances.back()->getOrCreateEncounteredAgentsOnHostAttachedToCorvane();
    }
    Times times;
    times.met = timed([&] {
        for (qsizetype i = 0; i < lines.size(); ++i) {
            SystemViewClassInstance* const instance = instances.at(isEachAlone ? static_cast<size_t>(i) : 0).get();
            instance->getOrCreateEncounteredAgentInfo(
                instance->getOrCreateEncounteredAgentsOnHostAttachedToCorvane(), lines.at(i));
        }
    });
    std::vector<std::unique_ptr<Recorder>> recorders;
    times.made = timed([&] {
        for (const auto& instance : instances) {
            recorders.push_back(std::make_unique<Recorder>(instance.get(), ModuleFixture::executablePath(), nullptr));
        }
    });
    qsizetype made = 0;
    for (const auto& recorder : recorders) {
        made += recorder->recorderInstances().size();
    }
    must(made == lines.size(), "an instance for each line");
    recorders.clear();
    ModuleFixture::settle();
    return times;
}

void compare(SystemViewClass* recorderClass, const char* kind, bool isMasked)
{
    using Figures = std::array<double, LINES.size()>;
    Figures metTogether {};
    Figures metAlone {};
    Figures madeTogether {};
    Figures madeAlone {};
    const auto median = [](std::vector<double> samples) {
        std::sort(samples.begin(), samples.end());
        return samples.at(samples.size() / 2);
    };
    for (size_t size = 0; size < LINES.size(); ++size) {
        const QStringList lines = newLines(LINES[size], isMasked);
        std::array<std::vector<double>, 4> samples;
        for (int round = 0; round < ROUNDS; ++round) {
            const Times together = measure(recorderClass, lines, false);
            const Times alone = measure(recorderClass, lines, true);
            samples[0].push_back(together.met);
            samples[1].push_back(alone.met);
            samples[2].push_back(together.made);
            samples[3].push_back(alone.made);
        }
        const double microseconds = 1000.0 * LINES[size];
        metTogether[size] = median(samples[0]) / microseconds;
        metAlone[size] = median(samples[1]) / microseconds;
        madeTogether[size] = median(samples[2]) / microseconds;
        madeAlone[size] = median(samples[3]) / microseconds;
    }
    out() << '\n' << QStringLiteral("microseconds a line, %1").arg(kind).leftJustified(58);
    for (const int count : LINES) {
        out() << QString::number(count).rightJustified(12);
    }
    out() << QStringLiteral("ratio").rightJustified(12) << Qt::endl;
    printLine("met, each alone", metAlone);
    printLine("met, in one class instance", metTogether, metTogether.back() / metAlone.back(), GOAL);
    printLine("made an instance, each alone", madeAlone);
    printLine("made an instance, in one registry", madeTogether, madeTogether.back() / madeAlone.back(), GOAL);
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "*.debug=false");
    const QApplication application(argc, argv);
    const ModuleFixture fixture;
    SystemViewClass* const recorderClass = SystemDocumentHandler::instance()->library()->getClassWithUUID(
        ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID);
    // The double of the network looks for a mapping among all that there are.
    QuenaryDouble::script("qny_mapping_add", QNY_ERROR_NAME);
    compare(recorderClass, "without passwords", false);
    compare(recorderClass, "with masked passwords", true);
    return 0;
}
