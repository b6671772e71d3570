// SPDX-License-Identifier: Apache-2.0
#include <recorderreplaycontext.h>

#include <QtTest/QTest>

class TestRecorderReplayContext : public QObject
{
    Q_OBJECT

    static void expectEmpty(const RecorderReplayContext& context)
    {
        QCOMPARE(context.replayId, QString());
        QVERIFY(context.replayStartDateTime.isNull());
        QCOMPARE(context.replayDuration, 0.0);
        QCOMPARE(context.replayProgress, 0.0);
        QCOMPARE(context.replaySpeed, 1.0);
        QCOMPARE(context.replayIsRunning, false);
        QCOMPARE(context.replayAllAgents, QString());
        QCOMPARE(context.replayAgentsFilter, QString());
    }

private slots:
    void aNewContextIsEmptyAtNormalSpeed() { expectEmpty(RecorderReplayContext()); }

    void resettingPutsEveryFieldBack()
    {
        // The fields in their order.
        RecorderReplayContext context { QStringLiteral("id"), QDateTime(QDate(2026, 11, 21), QTime(1, 2)), 10.0, 2.5,
            3.0, true, QStringLiteral("[\"a\",\"b\"]"), QStringLiteral("[\"a\"]") };
        QCOMPARE(context.replaySpeed, 3.0);
        QCOMPARE(context.replayAgentsFilter, QStringLiteral("[\"a\"]"));
        context.reset();
        expectEmpty(context);
    }
};

QTEST_APPLESS_MAIN(TestRecorderReplayContext)
#include "tst_recorderreplaycontext.moc"
