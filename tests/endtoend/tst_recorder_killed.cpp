// SPDX-License-Identifier: Apache-2.0
#include "recorderprogram.h"
#include "recordfile.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtTest/QTest>

#include <quenary.h>

#include <chrono>

namespace {

qint64 nowUs()
{
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

} // namespace

// A recorder that is killed in the middle of a recording, and started again.
class TestRecorderKilled : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(_folder.isValid());
        QString error;
        QCOMPARE(qny_name_set("Counter"), QNY_SUCCESS);
        QCOMPARE(qny_output_create("count", QNY_INTEGER_T, nullptr, 0), QNY_SUCCESS);
        QVERIFY2(_client.start(_port, &error), qPrintable(error));
    }

    void everyEventOlderThanASecondIsThere()
    {
        // Given a recording under way, of an output that counts
        auto recorder = std::make_unique<RecorderProgram>(_port, "Killed", _folder.path());
        QVERIFY(recorder->start());
        QVERIFY(_client.call("Killed", "record", { "cut off", "", "" }, "client##record"));
        const auto started = _client.take({ "record_uuid", "recording_stopped" });
        QVERIFY(started && started->service == "record_uuid");
        QCOMPARE(started->token, "client##record");
        const QString uuid = started->arguments.at(0).toString();
        QVERIFY(!uuid.isEmpty());
        const QList<qint64> stamps = _publishFor(4'000);
        QVERIFY(stamps.size() > 300);

        // When it is killed and started again on the same store
        const qint64 killedUs = nowUs();
        recorder->kill();
        recorder.reset();
        QVERIFY(RecorderClient::waitForAgent("Killed", false, QNY_PRESENCE_BOUND_MS));
        RecorderProgram again(_port, "Killed", _folder.path());
        QVERIFY(again.start());

        // Then it lists the record as closed, with a length that reaches to the last second
        const QJsonObject listed = _closedRecord(uuid);
        QVERIFY2(!listed.isEmpty(), "the record is not listed, or never closed");
        QCOMPARE(listed.value("name").toString(), "cut off");
        const double seconds = listed.value("duration_us").toDouble() / 1e6;
        QVERIFY2(seconds > 2.9 && seconds < 4.6, qPrintable(QString::number(seconds)));

        // And holds every event older than a second, in order, none twice, none altered
        const auto text = _client.exportRecord("Killed", uuid);
        QVERIFY(text);
        tour::RecordFile record;
        QString error;
        QVERIFY2(record.read(*text, &error), qPrintable(error));
        qsizetype mustHave = 0;
        while (mustHave < stamps.size() && stamps.at(mustHave) < killedUs - 1'000'000) {
            ++mustHave;
        }
        QVERIFY2(record.events().size() >= mustHave,
            qPrintable(QString("%1 events, %2 are older than a second").arg(record.events().size()).arg(mustHave)));
        QVERIFY(record.events().size() <= stamps.size());
        for (qsizetype index = 0; index < record.events().size(); ++index) {
            const tour::TracedEvent& event = record.events().at(index);
            QCOMPARE(event.agent, "Counter");
            QCOMPARE(event.output, "count");
            QCOMPARE(event.value.key(), (tour::TracedValue { "integer", QString::number(index) }.key()));
            QCOMPARE(event.timeUs - record.events().first().timeUs, stamps.at(index) - stamps.first());
        }
    }

    void itRecordsAgainAfterwards()
    {
        RecorderProgram recorder(_port, "Killed", _folder.path());
        QVERIFY(recorder.start());
        QVERIFY(_client.call("Killed", "record", { "afterwards", "", "" }, "client##record"));
        const auto started = _client.take({ "record_uuid", "recording_stopped" });
        QVERIFY(started && started->service == "record_uuid");
        const QList<qint64> stamps = _publishFor(500);
        QVERIFY(_client.call("Killed", "stop_recording", {}, "client"));
        QVERIFY(_client.take({ "recording_stopped" }));
        const auto text = _client.exportRecord("Killed", started->arguments.at(0).toString());
        QVERIFY(text);
        tour::RecordFile record;
        QString error;
        QVERIFY2(record.read(*text, &error), qPrintable(error));
        QCOMPARE(record.events().size(), stamps.size());
    }

private:
    // Publishes 0, 1, 2, … every 10 ms; the stamps that went out. Counting needs no condition to wait for: time is the
    // point.
    QList<qint64> _publishFor(int durationMs)
    {
        QList<qint64> stamps;
        const QDeadlineTimer end(durationMs);
        while (!end.hasExpired()) {
            const qint64 stamp = nowUs();
            const auto number = static_cast<int32_t>(stamps.size());
            if (qny_output_publish("count", QNY_INTEGER_T, &number, sizeof number, stamp, nullptr) == QNY_SUCCESS) {
                stamps.append(stamp);
            }
            QThread::msleep(10);
        }
        return stamps;
    }

    // The record once it has an end; empty when it never gets one.
    QJsonObject _closedRecord(const QString& uuid)
    {
        const QDeadlineTimer deadline(20'000);
        while (!deadline.hasExpired()) {
            if (!_client.call("Killed", "get_records", { "" }, "client")) {
                return {};
            }
            const auto reply = _client.take({ "records" });
            if (!reply) {
                return {};
            }
            const QJsonArray records = QJsonDocument::fromJson(reply->arguments.at(0).toString().toUtf8()).array();
            for (const QJsonValue& record : records) {
                if (record["uuid"].toString() == uuid && !record["end_date"].toString().isEmpty()) {
                    return record.toObject();
                }
            }
            QThread::msleep(100);
        }
        return {};
    }

    const quint16 _port = randomPort();
    QTemporaryDir _folder;
    RecorderClient _client;
};

QTEST_GUILESS_MAIN(TestRecorderKilled)
#include "tst_recorder_killed.moc"
