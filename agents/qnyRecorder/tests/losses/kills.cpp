// SPDX-License-Identifier: Apache-2.0
#include "csv/csv.h"
#include "lossrounds.h"

#include <QDeadlineTimer>
#include <QTemporaryFile>
#include <QThread>

#include <set>

namespace recorder::testing {

namespace {

constexpr std::int64_t eventsEach = 2'000; // of a record that is deleted

// The last words of the lines that begin with a word.
QStringList saidAfter(const QByteArray& lines, const QByteArray& word)
{
    QStringList said;
    for (const QByteArray& line : lines.left(lines.lastIndexOf('\n') + 1).split('\n')) {
        if (line.startsWith(word + ' ')) {
            said.append(QString::fromUtf8(line.mid(word.size() + 1)));
        }
    }
    return said;
}

std::int64_t lastNumber(const QStringList& words)
{
    return words.isEmpty() ? 0 : words.last().toLongLong();
}

std::string numberedFile(std::int64_t events)
{
    std::string file;
    csv::appendFact(file, "version", 1);
    csv::appendFact(file, "name", "file");
    csv::appendFact(file, "start_date", "2024-01-02T03:04:05.678Z");
    for (std::int64_t i = 0; i < events; ++i) {
        csv::appendEvent(file, numbered(i, i).view());
    }
    return file;
}

} // namespace

void LossRounds::killWhileItRecords()
{
    m_uuid = newRecordUuid();
    const QString burst = QString::number(between(1, 400));
    Child child({ QStringLiteral("--child"), m_under.place(), QString::fromStdString(m_uuid), burst,
        QStringLiteral("100000000") });
    QVERIFY(child.waitForLine());
    pause(0, 2'000);
    child.kill();
    const QByteArray lines = child.output();
    const std::int64_t last = lastSeen(lines);
    Account account;
    account.produced = appendedBy(lines, last);
    account.inLastSecond = account.produced - appendedBy(lines, last - 1'000'000);

    const auto store = openStore();
    QVERIFY(store);
    QVERIFY(waitUntilStored(*store));
    RR_CHECKED(check(*store, m_uuid, account));
    // Of the burst that was not told of any more, some may be there.
    account.produced = std::max(account.produced, account.stored);
    const auto reader = read(*store, m_uuid);
    const std::vector<std::string> remarks = reader->facts().completeness.remarks;
    QCOMPARE(remarks.size(), std::size_t(1));
    QVERIFY2(
        remarks[0].find("ended without closing this record: up to a second") != std::string::npos, remarks[0].c_str());
    conclude(account);
}

void LossRounds::killWhileItImports()
{
    const std::int64_t events = 20'000;
    const auto rows = static_cast<std::size_t>(between(100, 5'000));
    const std::string content = numberedFile(events);
    QTemporaryFile file;
    QVERIFY(file.open() && file.write(QByteArray::fromStdString(content)) > 0 && file.flush());
    Child child({ QStringLiteral("--import"), m_under.place(), file.fileName(), QString::number(rows) });
    const std::vector<std::string> chunks = moduleChunks(content, rows);
    // After the first line, that of the uuid, two for each chunk.
    QVERIFY(child.waitForLines(1 + between(0, static_cast<int>(2 * chunks.size() - 1))));
    QThread::usleep(static_cast<unsigned long>(between(0, 10'000)));
    child.kill();
    const QByteArray lines = child.output();
    const std::string uuid = saidAfter(lines, "importing").value(0).toStdString();
    const std::int64_t answered = lastNumber(saidAfter(lines, "fed"));
    Account account;
    account.produced = lastNumber(saidAfter(lines, "feeding"));
    account.inLastSecond = account.produced - answered;

    const auto store = openStore();
    QVERIFY(store);
    QVERIFY(waitUntilStored(*store));
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    if (list.empty()) {
        QCOMPARE(answered, 0);
        conclude(account);
        return;
    }
    QCOMPARE(list.size(), std::size_t(1));
    QVERIFY(list[0].uuid == uuid && !list[0].isRecording);
    RR_CHECKED(check(*store, uuid, account));
    // A chunk is there as a whole or not at all.
    QVERIFY(account.stored == answered || account.inLastSecond == 0);
    conclude(account);
    if (account.stored == 0) {
        return; // what makes it a record did not come whole
    }
    QVERIFY(read(*store, uuid)->facts().completeness.isComplete());

    // It goes on where it ended.
    StoreResult result;
    const auto import = csv::Import::resume(*store, uuid, result);
    RR_DONE(result);
    std::int64_t before = 0;
    for (const std::string& chunk : chunks) {
        before += eventRowsIn(chunk);
        if (before > account.stored) {
            RR_DONE(import->feed(chunk));
        }
    }
    Account whole { .produced = events };
    RR_CHECKED(check(*store, uuid, whole));
    QCOMPARE(whole.stored, events);
}

void LossRounds::killWhileItDeletes()
{
    QStringList uuids;
    {
        const auto store = openStore();
        QVERIFY(store);
        for (int i = 0; i < 6; ++i) {
            RecordFacts facts;
            facts.uuid = newRecordUuid();
            facts.name = "to delete";
            std::unique_ptr<RecordWriter> writer;
            RR_DONE(store->create(facts, writer));
            for (std::int64_t event = 0; event < eventsEach; ++event) {
                RR_DONE(writer->append(numbered(event, event, 100).view()));
            }
            RR_DONE(writer->close(0));
            uuids.append(QString::fromStdString(facts.uuid));
        }
        QVERIFY(waitUntilStored(*store));
    }
    Child child({ QStringLiteral("--delete"), m_under.place(), uuids.join(QLatin1Char(',')) });
    QVERIFY(child.waitForLines(between(1, static_cast<int>(2 * uuids.size()))));
    QThread::usleep(static_cast<unsigned long>(between(0, 10'000)));
    child.kill();
    const QByteArray lines = child.output();
    const QStringList begun = saidAfter(lines, "deleting");
    const QStringList done = saidAfter(lines, "deleted");

    const auto store = openStore();
    QVERIFY(store);
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    std::set<std::string> listed;
    for (const RecordSummary& summary : list) {
        QVERIFY(!summary.isOpen);
        listed.insert(summary.uuid);
    }
    Account account;
    for (const QString& one : uuids) {
        const std::string uuid = one.toStdString();
        account.produced += eventsEach;
        if (listed.contains(uuid)) {
            QVERIFY2(!done.contains(one), "a record that was deleted is back");
            Account kept { .produced = eventsEach };
            RR_CHECKED(check(*store, uuid, kept, 100));
            account.stored += kept.stored;
            continue;
        }
        QVERIFY2(begun.contains(one), "a record is gone that nobody deleted");
        account.reported += done.contains(one) ? eventsEach : 0;
        account.inLastSecond += done.contains(one) ? 0 : eventsEach;
        std::unique_ptr<RecordReader> reader;
        QVERIFY(store->open(uuid, reader).error == StoreError::NotFound);
        // What was left of it goes in the background.
        const QDeadlineTimer deadline(20'000);
        while (m_under.holdsAnythingOf(uuid) && !deadline.hasExpired()) {
            QThread::msleep(20);
        }
        QVERIFY2(!m_under.holdsAnythingOf(uuid), "of a deleted record something stays for ever");
    }
    conclude(account);
    // What is there can be deleted still.
    for (const std::string& uuid : listed) {
        RR_DONE(store->remove(uuid));
    }
}

} // namespace recorder::testing
