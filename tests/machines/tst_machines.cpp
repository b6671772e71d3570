// SPDX-License-Identifier: Apache-2.0
#include "sitetest.h"

#include <quenary.h>

#include <networkconfiguration.h>

#include <QtTest/QTest>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

// A network for each way to find one another; every machine is on all of them.
const QString MULTICAST = QStringLiteral("eth0");
const QString NAMED = QStringLiteral("eth1");
const QString IPV6 = QStringLiteral("eth2");
const QString PORTS = QStringLiteral("5671-5686");

QList<VirtualNetwork::Cable> cablesOf(int number)
{
    return { { MULTICAST, "lan0", { QStringLiteral("10.87.0.%1/24").arg(number) } },
        { NAMED, "lan1", { QStringLiteral("10.87.1.%1/24").arg(number) } },
        { IPV6, "lan2", { QStringLiteral("fd87::%1/64").arg(number) } } };
}

QString build(VirtualNetwork& network)
{
    QString problem = network.addSwitch("lan0") + network.addSwitch("lan1", VirtualNetwork::Multicast::Dropped)
        + network.addSwitch("lan2");
    int number = 0;
    for (const QString& machine : { Site::HOST, Site::RECORDER, Site::PLANT }) {
        problem += network.powerUp(machine, cablesOf(++number));
    }
    return problem;
}

// What the test below kills: says which process holds its machine, and which runs in it.
int holdAMachine()
{
    const QString problem = machinesProblem();
    const Machine machine(QStringLiteral("held"));
    QProcess inside;
    inside.setProcessChannelMode(QProcess::ForwardedChannels);
    machine.start(inside, "/bin/sh", { "-c", "sleep 1000 & sleep 1000" });
    if (!problem.isEmpty() || !inside.waitForStarted()) {
        return 1;
    }
    std::printf("%lld\n", static_cast<long long>(inside.processId()));
    std::fflush(stdout);
    pause();
    return 0;
}

bool isThere(qint64 process)
{
    return kill(static_cast<pid_t>(process), 0) == 0;
}

} // namespace

class TestMachines : public SiteTest
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsLeftOfTheMachinesOfAProcessThatIsKilled()
    {
        // Given a process with a machine, in which processes run
        QProcess holder;
        holder.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        holder.start(QCoreApplication::applicationFilePath(), { "--hold" });
        QTRY_VERIFY_WITH_TIMEOUT(holder.canReadLine(), Site::PATIENCE_MS);
        const qint64 inside = holder.readLine().trimmed().toLongLong();
        QVERIFY(inside > 1 && isThere(inside));

        // When it is killed, then its machine and everything in it goes
        holder.kill();
        QVERIFY(holder.waitForFinished());
        QTRY_VERIFY_WITH_TIMEOUT(!isThere(inside), Site::PATIENCE_MS);
    }

    void aRecorderOnAnotherMachineRecordsReplaysAndIsDownloaded_data()
    {
        QTest::addColumn<QString>("device");
        QTest::addColumn<QString>("peers");
        QTest::addColumn<QString>("listen");
        QStringList peers;
        for (int number = 1; number <= 3; ++number) {
            peers << QStringLiteral("10.87.1.%1:%2").arg(number).arg(PORTS);
        }
        QTest::newRow("with multicast") << MULTICAST << "" << "";
        QTest::newRow("without multicast, peers named") << NAMED << peers.join(u',') << PORTS;
        QTest::newRow("with IPv6 alone") << IPV6 << "" << "";
    }

    void aRecorderOnAnotherMachineRecordsReplaysAndIsDownloaded()
    {
        QFETCH(const QString, device);
        QFETCH(const QString, peers);
        QFETCH(const QString, listen);
        // Given the host, the launcher and the plant on a machine each
        QCOMPARE(site().join({ device, peers, listen }), "");
        QCOMPARE(site().startLauncher(), "");
        QCOMPARE(site().startPlant(), "");
        // When a recorder is added on the launcher's machine and connected, it records
        QCOMPARE(site().addRecorder(), "");
        QCOMPARE(site().connectRecorder(), "");
        // Whom the recorder has met is not to be seen from here; an agent that it meets while it records is no fault,
        // but the record then begins without it.
        QTest::qWait(5'000);
        QCOMPARE(site().startRecording(), "");
        QCOMPARE(site().recordFor(1.5), "");
        QCOMPARE(site().stopRecording(), "");
        QCOMPARE(site().stopPlant(), "");
        // Then the record holds what the agents say they published, all of it
        QCOMPARE(site().download("record.csv"), "");
        QCOMPARE(site().checkDownload("record.csv"), "");
        // And is seen again on this machine when it is replayed there
        QCOMPARE(site().load(), "");
        QCOMPARE(site().playToItsEnd(4.0), "");
        QCOMPARE(site().unload(), "");
        QCOMPARE(site().disconnectRecorder(), "");
        QCOMPARE(site().waitingFor(), "");
        QVERIFY2(site().host.notices().isEmpty(), qPrintable(site().host.notices().join(u'\n')));
        site().stopLauncher();
    }

    void ofTwoDevicesTheOneThatIsNamedIsUsed()
    {
        // Given an agent on each of two networks of one machine
        QCOMPARE(site().join({ MULTICAST, "", "" }), "");
        QProcess onFirst;
        QProcess onSecond;
        const auto start = [this](QProcess& process, const QString& name, const QString& device) {
            process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            network()
                .machine(Site::PLANT)
                ->start(process, QStringLiteral(RR_SAMPLES_DIRECTORY "/qnySamplePump"),
                    { "--name", name, "--device", device, "--peers", "" });
            QVERIFY2(process.waitForStarted(), qPrintable(process.errorString()));
        };
        start(onFirst, "On the first", MULTICAST);
        start(onSecond, "On the second", IPV6);

        // When the host joins one of them, then it meets the agent there and not the other one
        QTRY_VERIFY_WITH_TIMEOUT(qny_agent_is_present("On the first"), Site::PATIENCE_MS);
        QVERIFY(!qny_agent_is_present("On the second"));
        QCOMPARE(site().join({ IPV6, "", "" }), "");
        QTRY_VERIFY_WITH_TIMEOUT(qny_agent_is_present("On the second"), Site::PATIENCE_MS);
        QVERIFY(!qny_agent_is_present("On the first"));
        for (QProcess* process : { &onFirst, &onSecond }) {
            process->terminate();
            QVERIFY(process->waitForFinished());
        }
    }
};

int main(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], "--hold") == 0) {
        return holdAMachine();
    }
    return SiteTest::run<TestMachines>(argc, argv, build);
}

#include "tst_machines.moc"
