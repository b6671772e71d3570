// SPDX-License-Identifier: Apache-2.0
#include "dates.h"
#include "storesuite.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace recorder::testing {

namespace {

std::vector<RecordSummary> listOf(Store& store, std::string_view namePart = {})
{
    std::vector<RecordSummary> list;
    const StoreResult result = store.records(namePart, list);
    if (!result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return list;
}

std::vector<std::string> namesOf(Store& store, std::string_view namePart = {})
{
    std::vector<std::string> names;
    for (const RecordSummary& summary : listOf(store, namePart)) {
        names.push_back(summary.name);
    }
    return names;
}

const Event oneEvent(1'000, "a", "o", ValueView::fromInteger(1));

} // namespace

void StoreSuite::anEmptyStoreListsNothing()
{
    const auto store = openStore();
    QVERIFY(store);
    QVERIFY(listOf(*store).empty());
    QVERIFY(!store->describe().empty());
}

void StoreSuite::aNewRecordIsListedWhileItIsRecorded()
{
    const auto store = openStore();
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("now");
    RR_DONE(store->create(facts, writer));
    QCOMPARE(writer->uuid(), facts.uuid);

    std::vector<RecordSummary> list = listOf(*store);
    QCOMPARE(list.size(), std::size_t(1));
    QCOMPARE(list[0].uuid, facts.uuid);
    QVERIFY(list[0].isRecording && list[0].isOpen && list[0].isOwnedHere);

    RR_DONE(writer->append(oneEvent.view()));
    RR_DONE(writer->close(5'000'000));
    list = listOf(*store);
    QVERIFY(!list[0].isRecording && !list[0].isOpen);
    QCOMPARE(list[0].durationUs, 5'000'000);
    QCOMPARE(list[0].events, 1U);
}

void StoreSuite::factsComeBackAsGiven()
{
    const auto store = openStore();
    RecordFacts facts = newFacts("Ümlaut; \"quoted\"\nline", 1'768'471'200'123'456);
    facts.description = "two\nlines";
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(facts, writer));
    RR_DONE(writer->define("b", R"({"family":"x"})"));
    RR_DONE(writer->define("a", "{}"));
    RR_DONE(writer->define("b", R"({"family":"y"})")); // the last of two holds
    RR_DONE(writer->close(1'234'567));
    writer.reset();

    const auto reopened = openStore();
    const auto reader = read(*reopened, facts.uuid);
    QVERIFY(reader);
    QCOMPARE(reader->facts().uuid, facts.uuid);
    QCOMPARE(reader->facts().name, facts.name);
    QCOMPARE(reader->facts().description, facts.description);
    QCOMPARE(reader->facts().startUs, facts.startUs);
    QCOMPARE(reader->facts().durationUs, 1'234'567);
    QVERIFY(reader->facts().origin == RecordOrigin::Recorded);
    QVERIFY((reader->definitions() == std::vector<AgentDefinition> { { "b", R"({"family":"y"})" }, { "a", "{}" } }));
    QVERIFY((reader->agents() == std::vector<std::string> { "a", "b" }));
}

void StoreSuite::theListIsInTheOrderOfStartsAndCanBeSearched()
{
    const auto store = openStore();
    const std::pair<const char*, std::int64_t> records[]
        = { { "Second", 2'000'000 }, { "third ÄPFEL", 3'000'000 }, { "first", 1'000'000 } };
    for (const auto& [name, startUs] : records) {
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(newFacts(name, startUs), writer));
        RR_DONE(writer->close(0));
    }
    QVERIFY((namesOf(*store) == std::vector<std::string> { "first", "Second", "third ÄPFEL" }));
    QVERIFY((namesOf(*store, "IR") == std::vector<std::string> { "first", "third ÄPFEL" }));
    QVERIFY((namesOf(*store, "äpfel") == std::vector<std::string> { "third ÄPFEL" }));
    QVERIFY(namesOf(*store, "%").empty());
}

void StoreSuite::theListAsJsonHasTheModulesKeys()
{
    const auto store = openStore();
    std::unique_ptr<RecordWriter> closed;
    RR_DONE(store->create(newFacts("closed \"1\"", 1'768'471'200'123'456), closed));
    RR_DONE(closed->close(1'500'000));
    std::unique_ptr<RecordWriter> running;
    RR_DONE(store->create(newFacts("running", 1'768'471'300'000'000), running));

    const QJsonArray list = QJsonDocument::fromJson(QByteArray::fromStdString(recordsToJson(listOf(*store)))).array();
    QCOMPARE(list.size(), 2);
    const QJsonObject first = list[0].toObject();
    QCOMPARE(first.value("name").toString(), QStringLiteral("closed \"1\""));
    QVERIFY(!first.value("uuid").toString().isEmpty());
    QCOMPARE(first.value("start_date").toString().toStdString(), toListDate(1'768'471'200'123'456));
    QCOMPARE(first.value("end_date").toString().toStdString(), toListDate(1'768'471'201'623'456));
    QCOMPARE(first.value("duration_us").toInteger(), 1'500'000);
    QCOMPARE(list[1].toObject().value("end_date").toString(), QString());
    QCOMPARE(QByteArray::fromStdString(recordsToJson({})), QByteArray("[]"));
}

void StoreSuite::renamingChangesTheNameAlone()
{
    const auto store = openStore();
    const std::string uuid = record(*store, { oneEvent });
    RR_DONE(store->rename(uuid, "new ; name"));
    QVERIFY((namesOf(*store) == std::vector<std::string> { "new ; name" }));
    const auto reader = read(*store, uuid);
    QCOMPARE(reader->facts().name, std::string("new ; name"));
    RR_SAME_EVENTS(eventsOf(*reader), std::vector<Event> { oneEvent });
}

void StoreSuite::deletingTakesTheRecordAway()
{
    const auto store = openStore();
    const std::string kept = record(*store, randomEvents(1, 500), "kept");
    const std::string gone = record(*store, randomEvents(2, 5000), "gone");
    RR_DONE(store->remove(gone));
    QVERIFY((namesOf(*store) == std::vector<std::string> { "kept" }));
    std::unique_ptr<RecordReader> reader;
    QVERIFY(store->open(gone, reader).error == StoreError::NotFound);
    RR_SAME_EVENTS(eventsOf(*read(*store, kept)), randomEvents(1, 500));
    // Also when it comes back after the background has cleared up.
    const std::string next = record(*store, randomEvents(3, 500), "next");
    RR_SAME_EVENTS(eventsOf(*read(*store, next)), randomEvents(3, 500));
    RR_SAME_EVENTS(eventsOf(*read(*store, kept)), randomEvents(1, 500));
}

void StoreSuite::aRecordInUseIsNotDeleted()
{
    const auto store = openStore();
    const auto other = openStore();
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("written");
    RR_DONE(store->create(facts, writer));
    QVERIFY(store->remove(facts.uuid).error == StoreError::InUse);
    QVERIFY(other->remove(facts.uuid).error == StoreError::InUse);
    RR_DONE(writer->close(0));
    writer.reset();

    auto reader = read(*store, facts.uuid);
    auto second = read(*store, facts.uuid);
    QVERIFY(store->remove(facts.uuid).error == StoreError::InUse);
    QVERIFY(other->remove(facts.uuid).error == StoreError::InUse);
    reader.reset();
    QVERIFY(store->remove(facts.uuid).error == StoreError::InUse);
    QVERIFY(other->remove(facts.uuid).error == StoreError::InUse);
    second.reset();
    RR_DONE(other->remove(facts.uuid));
}

void StoreSuite::whatIsNotThereIsSaidSo()
{
    const auto store = openStore();
    std::unique_ptr<RecordReader> reader;
    std::unique_ptr<RecordWriter> writer;
    for (const StoreResult& result : { store->open("nobody", reader), store->resume("nobody", writer),
             store->rename("nobody", "x"), store->remove("nobody") }) {
        QVERIFY(result.error == StoreError::NotFound);
        QVERIFY(result.outcome == Outcome::Failed);
        QVERIFY2(result.message.find("nobody") != std::string::npos, result.message.c_str());
    }
    QVERIFY(!reader && !writer);
}

void StoreSuite::theListsRevisionGrowsWithEveryChange()
{
    const auto store = openStore();
    const auto other = openStore();
    std::uint64_t last = 0;
    RR_DONE(other->listRevision(last));
    const auto hasGrown = [&] {
        std::uint64_t now = 0;
        const StoreResult result = other->listRevision(now);
        const bool grown = result && now > last;
        last = now;
        return grown;
    };
    QVERIFY(!hasGrown());
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("x");
    RR_DONE(store->create(facts, writer));
    QVERIFY(hasGrown());
    RR_DONE(writer->append(oneEvent.view()));
    RR_DONE(writer->flush());
    QVERIFY(!hasGrown()); // a record that grows is no change of the list
    RR_DONE(writer->close(0));
    QVERIFY(hasGrown());
    RR_DONE(store->rename(facts.uuid, "y"));
    QVERIFY(hasGrown());
    RR_DONE(store->remove(facts.uuid));
    QVERIFY(hasGrown());
    importAll(*store, "z", ";0;record;version;integer;1\na;1;output;o;impulse;\n", 10);
    QVERIFY(hasGrown());
}

void StoreSuite::aWriterThatEndsClosesItsRecord()
{
    const auto store = openStore();
    const RecordFacts facts = newFacts("left");
    {
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(facts, writer));
        RR_DONE(writer->append(oneEvent.view()));
    }
    const std::vector<RecordSummary> list = listOf(*store);
    QVERIFY(!list.at(0).isOpen && !list.at(0).isRecording);
    RR_SAME_EVENTS(eventsOf(*read(*store, facts.uuid)), std::vector<Event> { oneEvent });
}

void StoreSuite::aSecondRecorderListsButDoesNotTouch()
{
    const auto store = openStore();
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("mine");
    RR_DONE(store->create(facts, writer));
    RR_DONE(writer->append(oneEvent.view()));
    RR_DONE(writer->flush());

    // Opening repairs what dead recorders left; this one lives.
    const auto other = openStore();
    const std::vector<RecordSummary> list = listOf(*other);
    QCOMPARE(list.size(), std::size_t(1));
    QVERIFY(list[0].isOpen && list[0].isRecording && !list[0].isOwnedHere);
    std::unique_ptr<RecordWriter> thief;
    QVERIFY(!other->resume(facts.uuid, thief));
    QVERIFY(other->remove(facts.uuid).error == StoreError::InUse);

    RR_DONE(writer->append(Event(2'000, "a", "o", ValueView::fromInteger(2)).view()));
    RR_DONE(writer->close(0));
    QCOMPARE(eventsOf(*read(*other, facts.uuid)).size(), std::size_t(2));
    QVERIFY(read(*other, facts.uuid)->facts().completeness.isComplete());
}

} // namespace recorder::testing
