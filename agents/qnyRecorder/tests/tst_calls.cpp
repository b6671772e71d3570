// SPDX-License-Identifier: Apache-2.0
#include "services/answers.h"
#include "services/call.h"
#include "services/taskthread.h"

#include <QTest>

#include <atomic>
#include <chrono>

using namespace recorder;

namespace {

struct Sent final : AnswerSink
{
    std::vector<Answer> answers;
    void send(const Answer& answer) override { answers.push_back(answer); }
};

} // namespace

class CallsTest : public QObject
{
    Q_OBJECT

private slots:
    void theTableStandsInTheOrderOfTheEnumeration()
    {
        const auto& services = declaredServices();
        QCOMPARE(services.size(), size_t(21));
        for (size_t i = 0; i < services.size(); ++i) {
            QCOMPARE(static_cast<size_t>(services[i].service), i);
        }
        QCOMPARE(QByteArray(declaredService(Service::FilterReplayingAgents).name), "filter_replaying_agents");
        QCOMPARE(QByteArray(declaredService(Service::Append).name), "append");
    }

    void argumentsOfTheDeclaredTypesPass()
    {
        std::vector<Argument> arguments { QByteArray("uuid"), 0, QByteArray(""), -1, true, false };
        QCOMPARE(checkArguments(declaredService(Service::Export), arguments), QString());
    }

    void anIntegerPassesForADouble()
    {
        std::vector<Argument> arguments { 3 };
        QCOMPARE(checkArguments(declaredService(Service::MoveTo), arguments), QString());
        QCOMPARE(std::get<double>(arguments[0]), 3.0);
    }

    void wrongCountsAndTypesAreNamed()
    {
        std::vector<Argument> none;
        QVERIFY(checkArguments(declaredService(Service::MoveTo), none).contains("0 arguments instead of 1"));
        std::vector<Argument> text { QByteArray("fast") };
        QVERIFY(checkArguments(declaredService(Service::Speed), text).contains("string instead of double"));
        std::vector<Argument> alien { std::monostate() };
        QVERIFY(!checkArguments(declaredService(Service::LoadFile), alien).isEmpty());
    }

    void thePlainTokenEndsBeforeTheSeparator()
    {
        const Caller caller { "agent", "Host", QByteArray("id##record") };
        QCOMPARE(caller.plainToken(), "id");
        QCOMPARE(caller.underPlainToken().token, QByteArray("id"));
        const Caller silent { "agent", "Host", std::nullopt };
        QVERIFY(!silent.underPlainToken().token);
    }

    void answersCarryTheTokenAndTheArgumentsInOrder()
    {
        Sent sent;
        Answers answers(sent);
        const Caller host { "host-uuid", "Host", QByteArray("id") };
        ReplayContext context;
        context.replayId = "r";
        context.startDate = QDateTime(QDate(2026, 5, 4), QTime(3, 2, 1, 7));
        context.durationSeconds = 4.0;
        context.positionSeconds = 1.0;
        context.speed = 2.0;
        context.isRunning = true;
        context.allAgents = { "a", "b\"" };
        answers.context(host, context);
        QCOMPARE(sent.answers.size(), size_t(1));
        const Answer& answer = sent.answers.front();
        QCOMPARE(answer.agentUuid, "host-uuid");
        QCOMPARE(QByteArray(answer.service), "context");
        QCOMPARE(answer.token, QByteArray("id"));
        const std::vector<Argument> wanted { QByteArray("r"), QByteArray("2026-05-04T03:02:01.007"), 4.0, 1.0, 2.0,
            true, QByteArray("[\"a\",\"b\\\"\"]"), QByteArray("[]"), QByteArray("") };
        QVERIFY(answer.arguments == wanted);
    }

    void tasksRunInOrderAndStopRunsWhatWasGiven()
    {
        std::vector<int> order;
        TaskThread thread;
        for (int i = 0; i < 1000; ++i) {
            thread.post([&order, i] { order.push_back(i); });
        }
        thread.start();
        thread.stop();
        thread.post([&order] { order.push_back(-1); });
        QCOMPARE(order.size(), size_t(1000));
        QVERIFY(std::is_sorted(order.begin(), order.end()));
    }

    void ticksComeWhileTasksKeepTheThreadBusy()
    {
        std::atomic<int> ticks { 0 };
        TaskThread thread(std::chrono::milliseconds(5), [&] { ++ticks; });
        thread.start();
        std::function<void()> again = [&] {
            if (ticks < 3) {
                thread.post(again);
            }
        };
        thread.post(again);
        QTRY_VERIFY(ticks >= 3);
        thread.stop();
    }
};

QTEST_GUILESS_MAIN(CallsTest)
#include "tst_calls.moc"
