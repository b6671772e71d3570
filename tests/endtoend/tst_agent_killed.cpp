// SPDX-License-Identifier: Apache-2.0
#include "hostapplication.h"
#include "processes.h"
#include "sampleplant.h"

#include <quenary.h>
#include <runningagentinfo.h>
#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewclassinstance.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <csignal>

// The host with its plant, whose agents are killed and started again.
class TestAgentKilled : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(_folder.isValid());
        qputenv("XDG_DATA_HOME", _folder.filePath("data").toLocal8Bit());
        qputenv("XDG_CONFIG_HOME", _folder.filePath("config").toLocal8Bit());
        qunsetenv("QNY_PORT");
        HostOptions options;
        options.device = "lo";
        options.port = randomPort();
        options.pluginsDirectory = QStringLiteral(RR_PLUGINS_DIRECTORY);
        options.withWindow = false;
        options.rememberSettings = false;
        QString error;
        QVERIFY2(_host.start(options, &error), qPrintable(error));

        SamplePlantOptions plant;
        plant.agentsDirectory = QStringLiteral(RR_SAMPLES_DIRECTORY);
        QVERIFY2(_plant.start(plant, &error), qPrintable(error));
        QTRY_VERIFY_WITH_TIMEOUT(_running("Pump A") != nullptr && _running("Controller") != nullptr, 10'000);
    }

    void cleanupTestCase()
    {
        _plant.stop();
        _host.stop();
    }

    void aKilledAgentIsSeenWithinTheBoundAndItsMappingsComeBack()
    {
        // Given an agent whose output another agent maps
        QProcess observer;
        observer.start(QStringLiteral(RR_OBSERVER),
            { "--output", _folder.filePath("observed.csv"), "--map", "Pump A/vibration/double" });
        QTRY_VERIFY_WITH_TIMEOUT(_lastLive(observer) == 1, 10'000);
        const qint64 process = _running("Pump A")->processId();
        QVERIFY(process > 1);

        // When it is killed
        QElapsedTimer elapsed;
        elapsed.start();
        QCOMPARE(kill(static_cast<pid_t>(process), SIGKILL), 0);

        // Then the host shows it gone, and so does the observer
        QTRY_VERIFY_WITH_TIMEOUT(_running("Pump A") == nullptr, QNY_PRESENCE_BOUND_MS);
        qInfo("the host saw the killed agent gone after %lld ms", static_cast<long long>(elapsed.elapsed()));
        QTRY_VERIFY_WITH_TIMEOUT(_lastLive(observer) == 0, QNY_PRESENCE_BOUND_MS);

        // And when it is started again, the mapping is fed again without anybody's doing
        const qint64 before = QFileInfo(_folder.filePath("observed.csv")).size();
        QProcess again;
        again.start(QStringLiteral(RR_SAMPLE_PUMP), { "--name", "Pump A" });
        QTRY_VERIFY_WITH_TIMEOUT(_running("Pump A") != nullptr, 10'000);
        QTRY_VERIFY_WITH_TIMEOUT(_lastLive(observer) == 1, 10'000);
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(_folder.filePath("observed.csv")).size() > before + 1000, 10'000);
        QVERIFY(_running("Pump A")->processId() != process);

        again.terminate();
        QVERIFY(again.waitForFinished(5'000));
        observer.closeWriteChannel();
        QVERIFY(observer.waitForFinished(5'000));
        QCOMPARE(observer.exitCode(), 0);
    }

private:
    // The agent of that name that the host's document shows running, or null.
    static RunningAgentInfo* _running(const QString& name)
    {
        const SystemView* view = SystemDocumentHandler::instance()->currentSystemView();
        const SystemViewClassInstance* instance = view ? view->getAgentByName(name) : nullptr;
        return instance ? instance->runningAgentInfos().value(0) : nullptr;
    }

    int _lastLive(QProcess& observer)
    {
        while (observer.canReadLine()) {
            const QByteArray line = observer.readLine().trimmed();
            if (line.startsWith("live ")) {
                _live = line.mid(5).toInt();
            }
        }
        return _live;
    }

    QTemporaryDir _folder;
    HostApplication _host;
    SamplePlant _plant;
    int _live = 0;
};

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    TestAgentKilled test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_agent_killed.moc"
