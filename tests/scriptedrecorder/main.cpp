// SPDX-License-Identifier: Apache-2.0
//
// A recorder agent that answers as a script on its standard input says (script.h has the language), and tells on its
// standard output what it saw (report.h). It records and replays nothing. It joins the network that QNY_DEVICE and
// QNY_PORT name, with its script's first part, up to the line "start", already in force. It ends with its standard
// input or when it is asked to stop.
//   --name NAME                 of the agent
//   --host NAME                 whom answers go to before anybody called (default: Corvane)
// Other options stand in its launch line for others to read.

#include "player.h"
#include "report.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>

#include <thread>

using namespace scripted;

namespace {

// True for the line that begins the agent's life.
bool isStart(const QString& line)
{
    return line.trimmed() == QLatin1StringView("start");
}

bool takeOrRefuse(Player& player, const QString& line)
{
    QString problem;
    const bool isTaken = player.take(line, problem);
    if (!isTaken) {
        reportProblem(QStringLiteral("%1: %2").arg(line.trimmed(), problem));
    }
    return isTaken;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    QString name = QStringLiteral("Recorder");
    QString host = QStringLiteral("Corvane");
    const QStringList arguments = QCoreApplication::arguments();
    for (qsizetype i = 1; i + 1 < arguments.size(); ++i) {
        if (arguments.at(i) == QLatin1StringView("--name")) {
            name = arguments.at(i + 1);
        } else if (arguments.at(i) == QLatin1StringView("--host")) {
            host = arguments.at(i + 1);
        }
    }

    Player player(host.toUtf8());
    QTextStream input(stdin);
    for (QString line; input.readLineInto(&line) && !isStart(line);) {
        if (!takeOrRefuse(player, line)) {
            return 2;
        }
    }
    Agent agent([&player](const Call& call) { player.onCall(call); });
    qny_observe_stop_requests(
        [](const char*, const char*, void*) {
            QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        },
        nullptr);
    QString problem;
    if (!agent.start(name, argc, argv, problem)) {
        reportProblem(problem);
        return 1;
    }
    QTimer meeting;
    QObject::connect(&meeting, &QTimer::timeout, &meeting, [&meeting, &host] {
        if (qny_agent_is_present(host.toUtf8().constData())) {
            meeting.stop();
            reportReady();
        }
    });
    meeting.start(5);

    // Reads on while the main thread runs the script's timers.
    std::thread reader([&input, &player] {
        for (QString line; input.readLineInto(&line);) {
            QMetaObject::invokeMethod(&player, [&player, line] { takeOrRefuse(player, line); }, Qt::QueuedConnection);
        }
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    QCoreApplication::exec();
    reader.detach();
    return 0;
}
