// SPDX-License-Identifier: Apache-2.0
#include "csv/filerecord.h"
#include "storesuite.h"

#include <QTemporaryFile>

namespace recorder::testing {

namespace {

RecordFacts recordWithEverything(Store& store, const std::vector<Event>& events, StoreResult& result)
{
    RecordFacts facts;
    facts.uuid = newRecordUuid();
    facts.name = "Everything; \"all\"";
    facts.description = "with\nline ends";
    facts.startUs = 1'768'471'200'123'456;
    std::unique_ptr<RecordWriter> writer;
    result = store.create(facts, writer);
    if (!result) {
        return facts;
    }
    (void)writer->define("agent 1", R"({"outputs":[{"name":"out1","type":"double"}]})");
    (void)writer->define("agent 0", "{}");
    (void)writer->setInitial("agent 1", "out1", ValueView::fromDouble(-0.0));
    (void)writer->setInitial("agent 1", "text", ValueView::fromString("\"\n"));
    writer->countLost("agent 1", "out1", LostIn::Network, 7);
    writer->countLost("silent", "never", LostIn::Queue, 2);
    writer->remark("It was \"cut\" off.");
    for (const Event& event : events) {
        (void)writer->append(event.view());
    }
    result = writer->close(events.empty() ? 0 : events.back().timeUs + 12'345);
    return facts;
}

} // namespace

void StoreSuite::anExportIsTheDocumentedFile()
{
    const auto store = openStore();
    StoreResult result;
    const RecordFacts facts = recordWithEverything(*store, randomEvents(14, 25), result);
    RR_DONE(result);
    QVERIFY(matchesGolden(QStringLiteral("export-v1.csv"), QByteArray::fromStdString(exportAll(*store, facts.uuid))));
}

void StoreSuite::exportAndImportGiveTheSame_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("seed");
    QTest::newRow("no events") << 0 << 1;
    QTest::newRow("one event") << 1 << 2;
    QTest::newRow("some events") << 700 << 3;
    QTest::newRow("many events") << 12'000 << 4;
}

void StoreSuite::exportAndImportGiveTheSame()
{
    QFETCH(int, count);
    QFETCH(int, seed);
    const auto store = openStore();
    std::vector<Event> events = randomEvents(static_cast<std::uint64_t>(seed), static_cast<std::size_t>(count));
    if (count > 500) {
        for (const Value& value : awkwardValues()) {
            events.emplace_back(events.back().timeUs + 1, "agent 1", "out1", value);
        }
    }
    StoreResult result;
    const RecordFacts facts = recordWithEverything(*store, events, result);
    RR_DONE(result);
    const std::string file = exportAll(*store, facts.uuid);

    std::mt19937_64 random(static_cast<std::uint64_t>(seed));
    for (int round = 0; round < 4; ++round) {
        // Neither the chunks of the export nor those of the import may show.
        const csv::ExportLimits limits { 1 + random() % 900, 200 + random() % 60'000 };
        QVERIFY(exportAll(*store, facts.uuid, limits) == file);
        const std::string copy = importAll(*store, "copy", file, 1 + random() % 2'000);
        const auto reader = read(*store, copy);
        RR_SAME_EVENTS(eventsOf(*reader), events);
        QCOMPARE(reader->facts().name, std::string("copy"));
        QCOMPARE(reader->facts().startUs, facts.startUs);
        const std::string again = exportAll(*store, copy, limits);
        QVERIFY(again != file);
        QCOMPARE(withoutName(again), withoutName(file));
    }
}

void StoreSuite::everyChunkOfAnExportIsWholeRowsWithinBounds()
{
    const auto store = openStore();
    StoreResult result;
    const std::vector<Event> events = randomEvents(5, 5'000);
    const RecordFacts facts = recordWithEverything(*store, events, result);
    RR_DONE(result);
    const auto reader = read(*store, facts.uuid);
    const csv::ExportLimits limits { 100, 30'000 };
    csv::ExportCursor cursor;
    std::size_t outputs = 0;
    bool isFirst = true;
    do {
        csv::ExportChunk chunk;
        RR_DONE(csv::exportChunk(*reader, cursor, chunk, limits));
        QVERIFY(!chunk.content.ends_with('\n'));
        const std::vector<std::string> rows = rowsOf(chunk.content);
        QVERIFY(!rows.empty() && rows.size() <= limits.rows);
        QVERIFY(chunk.content.size() <= limits.bytes || rows.size() == 1);
        bool eventsBegan = !isFirst;
        for (const std::string& row : rows) {
            const bool isOutput = row.find(";output;") != std::string::npos;
            QVERIFY2(isOutput || !eventsBegan, row.c_str());
            QVERIFY2(isOutput || row.find(";0;") != std::string::npos, row.c_str());
            eventsBegan = eventsBegan || isOutput;
            outputs += isOutput ? 1 : 0;
        }
        QVERIFY2(rows.back().find(";output;") != std::string::npos, rows.back().c_str());
        isFirst = false;
        cursor = chunk.next;
    } while (!cursor.isEmpty());
    QCOMPARE(outputs, events.size());
}

void StoreSuite::twoExportsAtOnceDoNotDisturbOneAnother()
{
    const auto store = openStore();
    const std::string one = record(*store, randomEvents(6, 3'000));
    const std::string two = record(*store, randomEvents(7, 3'000));
    const std::string fileOne = exportAll(*store, one);
    const std::string fileTwo = exportAll(*store, two);
    const auto readerOne = read(*store, one);
    const auto readerTwo = read(*store, two);
    std::string gotOne;
    std::string gotTwo;
    csv::ExportCursor cursorOne;
    csv::ExportCursor cursorTwo;
    const csv::ExportLimits limits { 300, 1'000'000 };
    do {
        csv::ExportChunk chunk;
        RR_DONE(csv::exportChunk(*readerOne, cursorOne, chunk, limits));
        gotOne += chunk.content + '\n';
        cursorOne = chunk.next;
        RR_DONE(csv::exportChunk(*readerTwo, cursorTwo, chunk, limits));
        gotTwo += chunk.content + '\n';
        cursorTwo = chunk.next;
    } while (!cursorOne.isEmpty() && !cursorTwo.isEmpty());
    QVERIFY(cursorOne.isEmpty() && cursorTwo.isEmpty());
    QVERIFY(gotOne == fileOne);
    QVERIFY(gotTwo == fileTwo);
}

void StoreSuite::aCursorOfNoExportIsRefused()
{
    const auto store = openStore();
    const auto reader = read(*store, record(*store, randomEvents(8, 10)));
    for (const char* bad : { "x", "00000000-0000-0000-0000-00000000000g", "00000000000000000000000000000000000000" }) {
        csv::ExportChunk chunk;
        const StoreResult result = csv::exportChunk(*reader, { 0, bad }, chunk);
        QVERIFY2(result.error == StoreError::Refused, bad);
        QVERIFY(chunk.content.empty());
    }
}

void StoreSuite::anImportIsWholeAfterEveryChunk()
{
    const auto store = openStore();
    const auto other = openStore();
    const std::vector<Event> events = randomEvents(9, 1'000);
    StoreResult result;
    const RecordFacts facts = recordWithEverything(*store, events, result);
    RR_DONE(result);
    const std::string file = exportAll(*store, facts.uuid);
    csv::Import import(*store, "copy");
    std::size_t rows = 0;
    for (const std::string& chunk : moduleChunks(file, 300)) {
        RR_DONE(import.feed(chunk));
        rows += 300;
        // Seen by another recorder at once, with as many events as there were rows.
        const auto reader = read(*other, import.uuid());
        const std::size_t wanted = std::min(rows - 10, events.size()); // ten rows stand before the events
        RR_SAME_EVENTS(eventsOf(*reader),
            std::vector<Event>(events.begin(), events.begin() + static_cast<std::ptrdiff_t>(wanted)));
        const bool isPart = wanted < events.size();
        const std::vector<std::string>& remarks = reader->facts().completeness.remarks;
        QCOMPARE(remarks.size(), std::size_t(isPart ? 2 : 1));
        QVERIFY(!isPart || remarks.back().starts_with("Imported in part"));
        std::vector<RecordSummary> list;
        RR_DONE(other->records("copy", list));
        QVERIFY(!list.at(0).isRecording);
    }
    RR_DONE(import.feed("")); // the module sends an empty chunk when its file ends with an empty line
    RR_DONE(import.feed("\n\n"));
}

void StoreSuite::anImportGoesOnAfterARestart()
{
    const std::vector<Event> events = randomEvents(10, 9'000, 5'000);
    std::string file;
    std::string uuid;
    std::vector<std::string> chunks;
    {
        const auto store = openStore();
        StoreResult result;
        const RecordFacts facts = recordWithEverything(*store, events, result);
        RR_DONE(result);
        file = exportAll(*store, facts.uuid);
        chunks = moduleChunks(file, 1'000);
        csv::Import import(*store, "copy");
        uuid = import.uuid();
        RR_DONE(import.feed(chunks[0]));
    }
    for (std::size_t i = 1; i < chunks.size(); ++i) {
        const auto store = openStore();
        StoreResult result;
        const std::unique_ptr<csv::Import> import = csv::Import::resume(*store, uuid, result);
        RR_DONE(result);
        QCOMPARE(import->uuid(), uuid);
        RR_DONE(import->feed(chunks[i]));
    }
    const auto store = openStore();
    QCOMPARE(withoutName(exportAll(*store, uuid)), withoutName(file));
    std::vector<OutputValue> state;
    RR_DONE(read(*store, uuid)->stateBefore(events.back().timeUs, state));
    QVERIFY(!state.empty());
}

void StoreSuite::aBadChunkEndsTheImportAndKeepsWhatWasStored()
{
    const auto store = openStore();
    const std::vector<Event> events = randomEvents(11, 600);
    const std::string file = exportAll(*store, record(*store, events));
    std::vector<std::string> chunks = moduleChunks(file, 206);
    csv::Import import(*store, "copy");
    RR_DONE(import.feed(chunks[0]));
    const StoreResult refused = import.feed(chunks[1] + "agent;1;output;o;integer;many\n\n");
    QVERIFY(refused.error == StoreError::Refused);
    QVERIFY2(refused.message.find("column 6 (value): \"many\"") != std::string::npos, refused.message.c_str());
    QVERIFY(import.hasFailed());
    const StoreResult later = import.feed(chunks[1]);
    QVERIFY(later.error == StoreError::Refused);

    const auto check = [&](RecordReader& reader) {
        const std::string problem = difference(eventsOf(reader), { events.begin(), events.begin() + 200 });
        const std::vector<std::string>& remarks = reader.facts().completeness.remarks;
        return problem.empty() && !remarks.empty() && remarks.back().find("many") != std::string::npos;
    };
    QVERIFY(check(*read(*store, import.uuid())));
    std::vector<RecordSummary> list;
    RR_DONE(store->records("copy", list));
    QVERIFY(!list.at(0).isOpen);

    // A restart does not forget that it ended.
    StoreResult result;
    const std::unique_ptr<csv::Import> resumed = csv::Import::resume(*store, import.uuid(), result);
    RR_DONE(result);
    QVERIFY(resumed->hasFailed());
    QVERIFY(resumed->feed(chunks[1]).error == StoreError::Refused);
    QVERIFY(check(*read(*store, import.uuid())));
}

void StoreSuite::aBadFirstChunkLeavesNoRecord()
{
    const auto store = openStore();
    csv::Import import(*store, "photo");
    const StoreResult result = import.feed("\xFF\xD8\xFF\xE0;JFIF\n\n");
    QVERIFY(result.error == StoreError::Refused);
    QVERIFY2(result.message.find("line 1") != std::string::npos, result.message.c_str());
    QVERIFY(!import.uuid().empty());
    QVERIFY(!import.isStored());
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(list.empty());
}

void StoreSuite::recordedRecordsAreNotAppendedTo()
{
    const auto store = openStore();
    const std::string uuid = record(*store, randomEvents(12, 10));
    StoreResult result;
    QVERIFY(!csv::Import::resume(*store, uuid, result));
    QVERIFY(result.error == StoreError::Refused);
    QVERIFY(!csv::Import::resume(*store, "nobody", result));
    QVERIFY(result.error == StoreError::NotFound);
}

void StoreSuite::aFileReplaysAsItsRecordDoes()
{
    const auto store = openStore();
    const std::vector<Event> events = randomEvents(13, 40'000);
    StoreResult result;
    const RecordFacts facts = recordWithEverything(*store, events, result);
    RR_DONE(result);
    const auto reader = read(*store, facts.uuid);

    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(QByteArray::fromStdString(exportAll(*store, facts.uuid)));
    file.close();
    std::vector<int> percents;
    const auto progress = [&](int percent) {
        percents.push_back(percent);
        return true;
    };
    const auto fromFile = csv::openFileRecord(file.fileName().toStdString(), progress, result);
    RR_DONE(result);
    QCOMPARE(fromFile->facts().name, reader->facts().name);
    QCOMPARE(fromFile->facts().startUs, reader->facts().startUs);
    QCOMPARE(fromFile->facts().durationUs, reader->facts().durationUs);
    QVERIFY(fromFile->facts().completeness == reader->facts().completeness);
    QVERIFY(fromFile->definitions() == reader->definitions());
    QVERIFY(fromFile->initialValues() == reader->initialValues());
    RR_SAME_EVENTS(eventsOf(*fromFile), events);
    QVERIFY(!percents.empty() && percents.back() == 100);
    for (const std::size_t at : { 0, 17, 9'999, 39'999 }) {
        std::vector<OutputValue> wanted;
        std::vector<OutputValue> got;
        RR_DONE(reader->stateBefore(events[at].timeUs, wanted));
        RR_DONE(fromFile->stateBefore(events[at].timeUs, got));
        QVERIFY(got == wanted);
        RR_SAME_EVENTS(eventsOf(*fromFile, events[at].timeUs, events[at].timeUs + 50'000),
            eventsOf(*reader, events[at].timeUs, events[at].timeUs + 50'000));
    }
    QVERIFY(!csv::openFileRecord(file.fileName().toStdString(), [](int) { return false; }, result));
    QVERIFY(result.error == StoreError::Refused);
    QVERIFY(!csv::openFileRecord("/nowhere/at/all.csv", {}, result));
    QVERIFY(result.error == StoreError::Unreachable);
}

} // namespace recorder::testing
