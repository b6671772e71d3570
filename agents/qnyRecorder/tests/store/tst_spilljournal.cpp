// SPDX-License-Identifier: Apache-2.0
#include "../datatools.h"
#include "chunk/checksum.h"
#include "store/spill/batchbytes.h"
#include "store/spill/journal.h"

#include <QTemporaryDir>

#include <sys/stat.h>

using namespace recorder;
using namespace recorder::testing;

namespace {

constexpr std::uint64_t plenty = 1'000'000'000;

RecordFacts someFacts()
{
    RecordFacts facts;
    facts.uuid = newRecordUuid();
    facts.name = "name \xC3\xBC";
    facts.description = "a\nb";
    facts.startUs = -5;
    facts.durationUs = 7;
    facts.completeness.remarks.push_back("a remark");
    return facts;
}

// Batch number i of a record: `events` events in one chunk.
Batch batchOf(std::uint64_t i, std::uint32_t events, std::size_t bytes = 100)
{
    Batch batch;
    ChunkRow row;
    row.info.sequence = i;
    row.info.count = events;
    row.packed = std::string(bytes, static_cast<char>('a' + i % 26));
    batch.chunks.push_back(row);
    batch.extent.nextSequence = i + 1;
    batch.extent.events = (i + 1) * events;
    batch.extent.durationUs = static_cast<std::int64_t>(i) * 1'000;
    return batch;
}

Batch fullBatch()
{
    Batch batch = batchOf(3, 17);
    batch.chunks[0].info.bucket = -2;
    batch.chunks[0].info.firstUs = -9;
    batch.chunks[0].info.lastUs = 1'000'000'000'000;
    batch.chunks[0].packed = std::string("\0\xFF", 2);
    batch.definitions.push_back({ 4, { "agent", "{\"outputs\":[]}" } });
    std::uint32_t ordinal = 0;
    for (const Value& value : awkwardValues()) {
        batch.initials.push_back({ ordinal++, { "agent", "o" + std::to_string(ordinal), value } });
    }
    batch.states.push_back({ 3, -1, "state" });
    batch.facts = someFacts();
    batch.completeness = "{\"x\":1}";
    batch.completenessThrough = 2;
    batch.extent = { 1, 2, 3, 4, 5, 6, 7 };
    batch.recordState = RecordState::Whole;
    batch.listChanged = true;
    batch.last = true;
    return batch;
}

} // namespace

// The journal's file: what comes back out of it, whatever happened to it.
class TestSpillJournal : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_directory = std::make_unique<QTemporaryDir>();
        m_facts = someFacts();
        m_file = (m_directory->path() + "/one.journal").toStdString();
    }

    void aBatchComesBackWhole();
    void bytesThatAreNoBatchAreRefused();
    void batchesComeBackInOrderAfterReopening();
    void whatIsDrainedDoesNotComeAgainButTheLast();
    void aHalfWrittenEndIsCutOff();
    void aDamagedFrameCostsOnlyItself_data();
    void aDamagedFrameCostsOnlyItself();
    void oneTornSlotLosesNothing();
    void beyondTheBoundNothingIsTakenButTheLossesAre();
    void lossesOfManyOutputsAreKeptInSum();
    void lossesGiveWayToWhatComesAfterThem();
    void twoRecordersDoNotOpenOneJournal();
    void aNewerJournalIsRefused();
    void aFileWithoutARecordIsSaidSo();
    void drainedSpaceIsGivenBackOnceThatIsOnTheDisk();
    void aLongDescriptionOutlastsWhatIsDrained();
    void powerLostAfterSpaceWasGivenBackDamagesNothing();

private:
    std::unique_ptr<Journal> create(SpillBudget& budget)
    {
        StoreResult result;
        Journal::State state;
        state.owners.push_back("first");
        auto journal = Journal::create(m_file, m_facts, state, budget, result);
        if (!journal) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
        }
        return journal;
    }
    std::unique_ptr<Journal> open()
    {
        StoreResult result;
        auto journal = Journal::open(m_file, m_budget, result);
        if (!journal) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
        }
        return journal;
    }
    // The numbers of the chunks that it gives, drained on the way.
    static std::vector<std::uint64_t> drain(Journal& journal)
    {
        std::vector<std::uint64_t> numbers;
        Batch batch;
        while (journal.next(batch)) {
            numbers.push_back(batch.chunks.empty() ? ~std::uint64_t(0) : batch.chunks[0].info.sequence);
            journal.drained();
        }
        return numbers;
    }
    void change(qint64 offset, const QByteArray& bytes)
    {
        QFile file(QString::fromStdString(m_file));
        QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(offset));
        QCOMPARE(file.write(bytes), bytes.size());
    }
    QByteArray stateSlots()
    {
        QFile file(QString::fromStdString(m_file));
        return file.open(QIODevice::ReadOnly) ? file.read(2 * 1024 * 1024) : QByteArray();
    }
    std::int64_t bytesOnDisk() const
    {
        struct stat state
        {
        };
        return ::stat(m_file.c_str(), &state) == 0 ? std::int64_t(state.st_blocks) * 512 : -1;
    }
    // Where frame number i of those that batchOf() gives begins.
    qint64 offsetOf(int i)
    {
        QFile file(QString::fromStdString(m_file));
        if (!file.open(QIODevice::ReadOnly)) {
            return -1;
        }
        const QByteArray all = file.readAll();
        qsizetype at = all.indexOf("RRSF");
        for (int frame = 0; frame <= i; ++frame) {
            at = all.indexOf("RRSF", at + 1);
        }
        return at;
    }

    std::unique_ptr<QTemporaryDir> m_directory;
    std::string m_file;
    RecordFacts m_facts = someFacts();
    SpillBudget m_budget { plenty };
};

using Numbers = std::vector<std::uint64_t>;

void TestSpillJournal::aBatchComesBackWhole()
{
    const Batch batch = fullBatch();
    Batch back;
    QVERIFY(unpackBatch(packBatch(batch), back));
    QCOMPARE(packBatch(back), packBatch(batch));
    QVERIFY(back.chunks.at(0).packed == batch.chunks[0].packed && back.chunks[0].info.lastUs == 1'000'000'000'000);
    QVERIFY(back.definitions.at(0).definition == batch.definitions[0].definition);
    QCOMPARE(back.initials.size(), batch.initials.size());
    for (std::size_t i = 0; i < batch.initials.size(); ++i) {
        QVERIFY(back.initials[i].initial == batch.initials[i].initial);
    }
    QVERIFY(back.last && back.listChanged && back.recordState == RecordState::Whole);
    QCOMPARE(back.extent.maxLateUs, 7);
    QVERIFY(back.facts && back.facts->completeness == batch.facts->completeness);
    QVERIFY(back.completeness == batch.completeness && back.completenessThrough == 2);
    RecordFacts facts;
    QVERIFY(unpackFacts(packFacts(m_facts), facts));
    QVERIFY(facts.uuid == m_facts.uuid && facts.name == m_facts.name && facts.startUs == -5);
}

void TestSpillJournal::bytesThatAreNoBatchAreRefused()
{
    Batch batch = fullBatch();
    batch.initials.resize(3);
    const std::string bytes = packBatch(batch);
    Batch back;
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        QVERIFY(!unpackBatch(std::string_view(bytes).substr(0, size), back));
    }
    QVERIFY(!unpackBatch(bytes + 'x', back));
    // Whatever they are, they are read or refused.
    std::mt19937_64 random(3);
    for (int i = 0; i < 3'000; ++i) {
        std::string wrong = bytes;
        wrong[random() % wrong.size()] = static_cast<char>(random());
        (void)unpackBatch(wrong, back);
    }
}

void TestSpillJournal::batchesComeBackInOrderAfterReopening()
{
    {
        const auto journal = create(m_budget);
        for (std::uint64_t i = 0; i < 5; ++i) {
            RR_DONE(journal->append(batchOf(i, 10)));
        }
        QCOMPARE(journal->waitingEvents(), 50U);
    }
    QCOMPARE(m_budget.used(), 0U);
    const auto journal = open();
    QVERIFY(m_budget.used() > 500);
    QCOMPARE(journal->facts().uuid, m_facts.uuid);
    QCOMPARE(journal->state().owners, std::vector<std::string> { "first" });
    QVERIFY(!journal->state().isMade && !journal->hasLast());
    QCOMPARE(journal->extent().events, 50U);
    QCOMPARE(journal->waitingEvents(), 50U);
    RR_DONE(journal->append(batchOf(5, 10)));
    QVERIFY(drain(*journal) == Numbers({ 0, 1, 2, 3, 4, 5 }));
    QCOMPARE(journal->state().damagedEvents, 0U);
    QCOMPARE(m_budget.used(), 0U);
}

void TestSpillJournal::whatIsDrainedDoesNotComeAgainButTheLast()
{
    {
        const auto journal = create(m_budget);
        for (std::uint64_t i = 0; i < 4; ++i) {
            RR_DONE(journal->append(batchOf(i, 10, 600'000)));
        }
        QVERIFY(drain(*journal) == Numbers({ 0, 1, 2, 3 }));
        journal->setMade(); // writes down how far it came
    }
    const auto journal = open();
    QVERIFY(journal->state().isMade);
    QVERIFY(drain(*journal) == Numbers({ 3 }));
    QCOMPARE(journal->state().damagedEvents, 0U);
}

void TestSpillJournal::aHalfWrittenEndIsCutOff()
{
    {
        const auto journal = create(m_budget);
        for (std::uint64_t i = 0; i < 3; ++i) {
            RR_DONE(journal->append(batchOf(i, 10)));
        }
    }
    QFile whole(QString::fromStdString(m_file));
    QVERIFY(whole.open(QIODevice::ReadOnly));
    const QByteArray all = whole.readAll();
    const qint64 last = offsetOf(2);
    for (qint64 size = last; size < all.size(); ++size) {
        QVERIFY(QFile::resize(QString::fromStdString(m_file), 0));
        change(0, all.left(size));
        const auto journal = open();
        RR_DONE(journal->append(batchOf(7, 10)));
        QVERIFY(drain(*journal) == Numbers({ 0, 1, 7 }));
    }
}

void TestSpillJournal::aDamagedFrameCostsOnlyItself_data()
{
    QTest::addColumn<int>("frame");
    QTest::addColumn<int>("offset");
    for (const int frame : { 0, 2, 4 }) {
        QTest::addRow("payload of frame %d", frame) << frame << 60;
        if (frame < 4) { // a frame without a beginning at the end was never written
            QTest::addRow("beginning of frame %d", frame) << frame << 1;
            QTest::addRow("length of frame %d", frame) << frame << 6;
        }
    }
}

void TestSpillJournal::aDamagedFrameCostsOnlyItself()
{
    QFETCH(int, frame);
    QFETCH(int, offset);
    {
        const auto journal = create(m_budget);
        for (std::uint64_t i = 0; i < 5; ++i) {
            RR_DONE(journal->append(batchOf(i, 10)));
        }
    }
    change(offsetOf(frame) + offset, "\x7F");
    Numbers wanted;
    for (std::uint64_t i = 0; i < 5; ++i) {
        if (i != static_cast<std::uint64_t>(frame)) {
            wanted.push_back(i);
        }
    }
    const auto journal = open();
    QVERIFY(drain(*journal) == wanted);
    QCOMPARE(journal->state().damagedEvents, 10U);
    QCOMPARE(journal->waitingEvents(), 0U);
}

void TestSpillJournal::oneTornSlotLosesNothing()
{
    {
        const auto journal = create(m_budget);
        journal->addOwner("second");
        journal->addOwner("third");
        RR_DONE(journal->append(batchOf(0, 10)));
    }
    change(1024 * 1024 + 30, "\x7F\x7F"); // the slot written last: the third writing
    const auto journal = open();
    const std::vector<std::string> owners = { "first", "second" };
    QVERIFY(journal->state().owners == owners);
    QVERIFY(drain(*journal) == Numbers({ 0 }));
}

void TestSpillJournal::beyondTheBoundNothingIsTakenButTheLossesAre()
{
    SpillBudget budget(2'000);
    Batch losses;
    losses.completeness = "{}";
    losses.last = true;
    {
        const auto journal = create(budget);
        StoreResult result;
        std::uint64_t taken = 0;
        while ((result = journal->append(batchOf(taken, 10, 500)))) {
            ++taken;
        }
        QCOMPARE(taken, 3U);
        QVERIFY(result.error == StoreError::Overflow);
        QVERIFY(budget.used() <= 2'000);
        RR_DONE(journal->keepLosses(Batch()));
        RR_DONE(journal->keepLosses(losses));
        // What is drained makes room.
        Batch batch;
        QVERIFY(journal->next(batch));
        journal->drained();
        QVERIFY(budget.used() < 1'500);
    }
    const auto journal = open();
    QVERIFY(journal->hasLast());
    const Numbers drained = drain(*journal);
    QCOMPARE(drained.back(), ~std::uint64_t(0));
    QVERIFY(!journal->state().losses);
}

void TestSpillJournal::lossesOfManyOutputsAreKeptInSum()
{
    Completeness each;
    each.remarks.push_back("a remark");
    for (int i = 0; i < 2'000; ++i) {
        OutputCompleteness output;
        output.agent = "agent";
        output.output = "o" + std::to_string(i);
        output.stored = 3;
        output.lostStore = 2;
        each.outputs.push_back(output);
    }
    Batch losses;
    losses.last = true;
    losses.recordState = RecordState::Whole;
    losses.completeness = each.toJson();
    losses.definitions.push_back({ 0, { "agent", std::string(2'000'000, ' ') } });
    const auto journal = create(m_budget);
    RR_DONE(journal->keepLosses(losses));
    QVERIFY(journal->state().losses->definitions.empty());
    QVERIFY(journal->state().losses->completeness == losses.completeness);

    for (int i = 2'000; i < 20'000; ++i) {
        each.outputs.push_back(each.outputs.back());
        each.outputs.back().output = "o" + std::to_string(i);
    }
    losses.completeness = each.toJson();
    losses.completenessThrough = 7;
    RR_DONE(journal->keepLosses(losses));
    Batch kept;
    QVERIFY(journal->next(kept) && kept.last && kept.recordState == RecordState::Whole);
    QCOMPARE(kept.completenessThrough, 0U);
    Completeness totals;
    std::string reason;
    QVERIFY2(Completeness::fromJson(*kept.completeness, totals, reason), reason.c_str());
    QCOMPARE(totals.remarks.size(), std::size_t(2));
    QCOMPARE(totals.remarks[0], each.remarks[0]);
    QVERIFY2(totals.remarks[1].find("20000 outputs: together 60000 events are stored and 40000 are lost")
            != std::string::npos,
        totals.remarks[1].c_str());
}

void TestSpillJournal::lossesGiveWayToWhatComesAfterThem()
{
    {
        const auto journal = create(m_budget);
        RR_DONE(journal->append(batchOf(0, 10)));
        Batch losses;
        losses.last = true;
        RR_DONE(journal->keepLosses(losses));
        RR_DONE(journal->append(batchOf(1, 10)));
        QVERIFY(!journal->hasLast());
    }
    const auto journal = open();
    QVERIFY(!journal->hasLast());
    QVERIFY(drain(*journal) == Numbers({ 0, 1 }));
}

void TestSpillJournal::twoRecordersDoNotOpenOneJournal()
{
    const auto journal = create(m_budget);
    StoreResult result;
    QVERIFY(!Journal::open(m_file, m_budget, result));
    QVERIFY(result.error == StoreError::InUse);
}

void TestSpillJournal::aNewerJournalIsRefused()
{
    create(m_budget).reset();
    // The version stands in front of what the checksum covers, and is covered too: as a newer recorder writes it.
    QFile file(QString::fromStdString(m_file));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray slot = file.readAll().mid(1024 * 1024, 4096);
    file.close();
    slot[8] = 2;
    const auto length = static_cast<std::uint8_t>(slot[20]);
    std::string covered = slot.left(24).toStdString() + slot.mid(28, length).toStdString();
    const std::uint32_t checksum = crc32c(covered);
    for (int i = 0; i < 4; ++i) {
        slot[24 + i] = static_cast<char>(checksum >> (8 * i));
    }
    change(1024 * 1024, slot);
    StoreResult result;
    QVERIFY(!Journal::open(m_file, m_budget, result));
    QVERIFY2(result.error == StoreError::NewerVersion, result.message.c_str());
}

void TestSpillJournal::aFileWithoutARecordIsSaidSo()
{
    StoreResult result;
    change(0, "x");
    QVERIFY(!Journal::open(m_file, m_budget, result));
    QVERIFY(result.error == StoreError::Damaged && result.message.empty()); // nothing ever came into it
    change(0, QByteArray(3 * 1024 * 1024, 'x'));
    QVERIFY(!Journal::open(m_file, m_budget, result));
    QVERIFY(result.error == StoreError::Damaged);
    QVERIFY2(result.message.find(m_file) != std::string::npos, result.message.c_str());
}

void TestSpillJournal::drainedSpaceIsGivenBackOnceThatIsOnTheDisk()
{
    const auto journal = create(m_budget);
    for (std::uint64_t i = 0; i < 20; ++i) {
        RR_DONE(journal->append(batchOf(i, 10, 1'000'000)));
    }
    QCOMPARE(drain(*journal).size(), std::size_t(20));
    const std::int64_t before = bytesOnDisk();
    QVERIFY2(before > 20'000'000, std::to_string(before).c_str());
    journal->sync();
    const std::int64_t after = bytesOnDisk();
    QVERIFY2(after < 6'000'000, std::to_string(after).c_str());
}

void TestSpillJournal::aLongDescriptionOutlastsWhatIsDrained()
{
    m_facts.description = std::string(3 * 1024 * 1024, 'd');
    {
        const auto journal = create(m_budget);
        for (std::uint64_t i = 0; i < 10; ++i) {
            RR_DONE(journal->append(batchOf(i, 10, 1'000'000)));
        }
        QCOMPARE(drain(*journal).size(), std::size_t(10));
        journal->sync();
        RR_DONE(journal->append(batchOf(10, 10)));
    }
    const auto journal = open();
    QVERIFY(journal && journal->facts().description == m_facts.description);
    QCOMPARE(drain(*journal).back(), 10U);
    QCOMPARE(journal->state().damagedEvents, 0U);
}

// Whatever was written into the slots after the last sync is gone, or half of it.
void TestSpillJournal::powerLostAfterSpaceWasGivenBackDamagesNothing()
{
    QByteArray synced;
    {
        const auto journal = create(m_budget);
        for (std::uint64_t i = 0; i < 20; ++i) {
            RR_DONE(journal->append(batchOf(i, 10, 1'100'000)));
        }
        Batch batch;
        for (int i = 0; i < 10; ++i) {
            QVERIFY(journal->next(batch));
            journal->drained();
        }
        journal->sync();
        synced = stateSlots();
        QCOMPARE(drain(*journal).size(), std::size_t(10));
        journal->setMade();
    }
    const QByteArray now = stateSlots();
    int torn = 0;
    for (int slot = 0; slot < 2; ++slot) {
        const qsizetype at = slot * 1024 * 1024;
        if (now.mid(at, 4096) != synced.mid(at, 4096)) {
            change(at + 30, "\x7F\x7F");
            ++torn;
        }
    }
    QCOMPARE(torn, 1);
    const auto journal = open();
    QVERIFY(drain(*journal) == Numbers({ 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19 }));
    QCOMPARE(journal->state().damagedEvents, 0U);
}

QTEST_GUILESS_MAIN(TestSpillJournal)
#include "tst_spilljournal.moc"
