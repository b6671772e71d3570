// SPDX-License-Identifier: Apache-2.0
#include "sampleplant.h"

#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

class tst_host_sampleplant : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void runsWritesJournalsAndEnds();
    void goesOnInTheSameJournalAfterAStop();
    void saysWhatIsMissing();
    void tellsWhenAnAgentFails();

private:
    QByteArray journal(const QString& agent) const;

    SamplePlantOptions _options;
    std::unique_ptr<QTemporaryDir> _folder;
};

void tst_host_sampleplant::init()
{
    _folder = std::make_unique<QTemporaryDir>();
    _options = {};
    _options.agentsDirectory = QStringLiteral(BUILD_DIRECTORY "/agents/samples");
    _options.device = QStringLiteral("lo");
    _options.port = static_cast<quint16>(QRandomGenerator::global()->bounded(20000, 60000));
    _options.journalDirectory = _folder->filePath(QStringLiteral("journals"));
}

QByteArray tst_host_sampleplant::journal(const QString& agent) const
{
    QFile file(SamplePlant::journalFile(_options.journalDirectory, agent));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void tst_host_sampleplant::runsWritesJournalsAndEnds()
{
    SamplePlant plant;
    QSignalSpy running(&plant, &SamplePlant::runningChanged);
    QSignalSpy failed(&plant, &SamplePlant::agentFailed);
    QString error;

    QVERIFY2(plant.start(_options, &error), qPrintable(error));
    QVERIFY(plant.isRunning());
    QCOMPARE(running.count(), 1);
    for (const QString& agent : SamplePlant::agentNames()) {
        QTRY_VERIFY_WITH_TIMEOUT(journal(agent).count('\n') > 2, 10000);
    }
    QVERIFY(journal(QStringLiteral("Pump B")).startsWith("Pump B;"));

    plant.stop();
    QVERIFY(!plant.isRunning());
    QCOMPARE(running.count(), 2);
    QCOMPARE(failed.count(), 0);
    const QByteArray atEnd = journal(QStringLiteral("Tank"));
    QVERIFY(atEnd.endsWith('\n'));
    QTest::qWait(50);
    QCOMPARE(journal(QStringLiteral("Tank")), atEnd);
}

void tst_host_sampleplant::goesOnInTheSameJournalAfterAStop()
{
    SamplePlant plant;
    QString error;
    QVERIFY2(plant.start(_options, &error), qPrintable(error));
    QTRY_VERIFY_WITH_TIMEOUT(journal(QStringLiteral("Tank")).count('\n') > 20, 10000);
    plant.stop();
    const QByteArray first = journal(QStringLiteral("Tank"));

    QVERIFY2(plant.start(_options, &error), qPrintable(error));
    QTRY_VERIFY_WITH_TIMEOUT(journal(QStringLiteral("Tank")).size() > first.size(), 10000);
    plant.stop();
    QVERIFY(journal(QStringLiteral("Tank")).startsWith(first));
}

void tst_host_sampleplant::saysWhatIsMissing()
{
    SamplePlant plant;
    _options.agentsDirectory = _folder->path();
    QString error;
    QVERIFY(!plant.start(_options, &error));
    QVERIFY2(error.contains(_folder->filePath(QStringLiteral("qnySamplePump"))), qPrintable(error));
    QVERIFY(!plant.isRunning());
    QCOMPARE(SamplePlant::missingPrograms(_folder->path()).size(), 5);
    QVERIFY(SamplePlant::missingPrograms(QStringLiteral(BUILD_DIRECTORY "/agents/samples")).isEmpty());
}

void tst_host_sampleplant::tellsWhenAnAgentFails()
{
    SamplePlant plant;
    QSignalSpy failed(&plant, &SamplePlant::agentFailed);
    _options.device = QStringLiteral("nosuchdevice0");
    QString error;
    QVERIFY2(plant.start(_options, &error), qPrintable(error));
    QTRY_COMPARE_WITH_TIMEOUT(failed.count(), SamplePlant::agentNames().size(), 10000);
    QVERIFY2(failed.first().at(1).toString().contains(QLatin1String("nosuchdevice0")),
        qPrintable(failed.first().at(1).toString()));
    QVERIFY(!plant.isRunning());
}

QTEST_GUILESS_MAIN(tst_host_sampleplant)
#include "tst_host_sampleplant.moc"
