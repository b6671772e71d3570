// SPDX-License-Identifier: Apache-2.0
#include "hostapplication.h"
#include "objecthandle.h"
#include "processes.h"

#include <quenary.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <csignal>

using tour::ObjectHandle;

// The host, the module, the sample plant and a recorder: what the module shows when the recorder is killed while it
// records.
class TestRecorderKilledInHost : public QObject
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
        options.withWindow = false;
        options.rememberSettings = false;
        options.withPlant = true;
        options.pluginsDirectory = QStringLiteral(RR_PLUGINS_DIRECTORY);
        QString error;
        QVERIFY2(_host.start(options, &error), qPrintable(error));
        _module = ObjectHandle(_host.module("recordAndReplay"));
        QVERIFY(!_module.isNull());
    }

    void cleanupTestCase() { _host.stop(); }

    void aRecordIsClosedWhenItsRecorderIsConnectedAgain()
    {
        // Given a recorder of the document that records the plant
        QList<ObjectHandle> recorders = _module.items("recorders");
        if (recorders.isEmpty()) {
            QCOMPARE(_module.call("createRecorder"), "");
            recorders = _module.items("recorders");
        }
        QVERIFY(!recorders.isEmpty() && !recorders.first().items("instances").isEmpty());
        const ObjectHandle instance = recorders.first().items("instances").first();
        QVERIFY2(instance.child("encounteredAgentInfo").text("commandLine").contains("qnyRecorder"),
            qPrintable(instance.child("encounteredAgentInfo").text("commandLine")));
        QCOMPARE(instance.call("connectAgent"), "");
        QTRY_VERIFY_WITH_TIMEOUT(instance.isTrue("isOn"), 15'000);
        QVERIFY(instance.items("records").isEmpty());
        QCOMPARE(instance.call("startRecording"), "");
        QTRY_VERIFY_WITH_TIMEOUT(instance.isTrue("isRecording"), 5'000);
        QTRY_VERIFY_WITH_TIMEOUT(instance.number("recordingProgressInSeconds") > 3.0, 10'000);

        // When its process is killed
        const double recorded = instance.number("recordingProgressInSeconds");
        const auto process = static_cast<pid_t>(instance.child("runningAgentInfo").value("processId").toLongLong());
        QVERIFY(process > 1);
        QElapsedTimer elapsed;
        elapsed.start();
        QCOMPARE(kill(process, SIGKILL), 0);

        // Then the module shows it off, with nothing of its run left
        QTRY_VERIFY_WITH_TIMEOUT(!instance.isTrue("isOn"), QNY_PRESENCE_BOUND_MS);
        qInfo("the module saw the killed recorder off after %lld ms", static_cast<long long>(elapsed.elapsed()));
        QVERIFY(!instance.isTrue("isRecording"));
        QVERIFY(!instance.isTrue("isRecordingPaused"));
        QCOMPARE(instance.number("recordingProgressInSeconds"), 0.0);
        QVERIFY(instance.items("records").isEmpty());

        // And when it is connected again, it lists the record with an end and all but the last second
        QCOMPARE(instance.call("connectAgent"), "");
        QTRY_VERIFY_WITH_TIMEOUT(instance.isTrue("isOn"), 15'000);
        QTRY_COMPARE_WITH_TIMEOUT(instance.items("records").size(), 1, 10'000);
        const ObjectHandle record = instance.items("records").first();
        QVERIFY(record.value("endDateTime").toDateTime().isValid());
        QVERIFY2(record.number("durationInSeconds") > recorded - 1.1, qPrintable(record.text("durationInSeconds")));
        QVERIFY(!instance.isTrue("isRecording"));
        QCOMPARE(instance.call("disconnectAgent"), "");
        QTRY_VERIFY_WITH_TIMEOUT(!instance.isTrue("isOn"), 10'000);
    }

private:
    QTemporaryDir _folder;
    HostApplication _host;
    ObjectHandle _module;
};

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    TestRecorderKilledInHost test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_recorder_killed_in_host.moc"
