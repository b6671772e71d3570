// SPDX-License-Identifier: Apache-2.0
#include "csv/filebackend.h"
#include "csv/filerecord.h"
#include "csvfilesundertest.h"
#include "fulldisk.h"
#include "store/chunkedreader.h"
#include "store/csvfile/recordfile.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QScopeGuard>
#include <QThread>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <thread>

using namespace recorder;
using namespace recorder::testing;

namespace {

Event numbered(int i)
{
    return { 1'000 * i, "agent", "o" + std::to_string(i % 3), ValueView::fromInteger(i) };
}

std::vector<Event> manyNumbered(int count)
{
    std::vector<Event> events;
    for (int i = 0; i < count; ++i) {
        events.push_back(numbered(i));
    }
    return events;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

// The rows of a text that anybody may have read: whole ones, and what is left behind them.
struct ReadRows
{
    std::vector<Event> events;
    std::size_t left = 0;
    bool isSound = true;
};

ReadRows readRows(const QByteArray& text)
{
    ReadRows rows;
    csv::Reader reader;
    reader.feed({ text.constData(), static_cast<std::size_t>(text.size()) });
    csv::Entry entry;
    csv::Reader::Step step = reader.next(entry);
    for (; step == csv::Reader::Step::Row; step = reader.next(entry)) {
        if (const Event* event = std::get_if<Event>(&entry)) {
            rows.events.push_back(*event);
        }
    }
    rows.left = static_cast<std::size_t>(text.size()) - reader.offset();
    rows.isSound = step == csv::Reader::Step::NeedMore;
    return rows;
}

} // namespace

// Runs the suite over record files, and what only these have.
class TestCsvFileStore : public StoreSuite
{
    Q_OBJECT

public:
    using StoreSuite::StoreSuite;

private slots:
    void aRecordIsOneFileThatAnybodyReads();
    void anotherProgramReadsTheFileWhileItGrows();
    void aHalfWrittenRowIsTakenOffAndSaid_data();
    void aHalfWrittenRowIsTakenOffAndSaid();
    void whatAnImportLeftHalfDoneIsTakenOff();
    void aRecorderThatDiesIsSeenByTheOthers();
    void foreignFilesAreLeftAlone();
    void aFileOfANewerVersionIsLeftAlone();
    void namesBecomeSafeFileNames_data();
    void namesBecomeSafeFileNames();
    void twoRecordsOfOneNameAndStartAreTwoFiles();
    void damagedRowsCostOnlyThemselves_data();
    void damagedRowsCostOnlyThemselves();
    void aFileWhoseEndWasEditedIsClosedAnew();
    void whatAnotherProgramSavedIsNeverDestroyed_data();
    void whatAnotherProgramSavedIsNeverDestroyed();
    void anImportWhoseEndWasEditedKeepsEverything_data();
    void anImportWhoseEndWasEditedKeepsEverything();
    void aHalfWrittenNameCostsNoEvent();
    void recordsAreMadeWhileAnotherRecorderLists();
    void aFileDeletedByHandIsOffTheList();
    void aFileDeletedDuringItsRecordingIsSaidSo();
    void aRecordIsRenamedWhileItIsRecorded();
    void silenceIsPartOfTheLength();
    void lossesAreToldBeforeTheEnd();
    void aFullDiskEndsTheRecordingAndLosesNothing();
    void eventsBeyondTheBoundAreCountedWhenTheFileIsBlocked();
    void aPlaceThatCannotBeWrittenIsSaidSo();
    void aFileLookedThroughInPiecesIsTheSame();
    void aLinkIsReadAndNeverWrittenInto();
    void whatIsClosedStaysClosed_data();
    void whatIsClosedStaysClosed();

private:
    QStringList files() { return QDir(m_under.place()).entryList({ "*.csv" }, QDir::Files); }
    QString onlyFile() { return m_under.place() + '/' + files().value(0); }
    std::vector<RecordSummary> list(Store& store);
    // A file as a recorder leaves it that dies: with the rows of these events and no end.
    QByteArray diedWith(const std::vector<Event>& events, QString& name);
    bool wasSaid(const char* words);
};

std::vector<RecordSummary> TestCsvFileStore::list(Store& store)
{
    std::vector<RecordSummary> summaries;
    const StoreResult result = store.records({}, summaries);
    if (!result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return summaries;
}

bool TestCsvFileStore::wasSaid(const char* words)
{
    const std::lock_guard guard(m_messagesMutex);
    return std::any_of(m_messages.begin(), m_messages.end(),
        [&](const std::string& message) { return message.find(words) != std::string::npos; });
}

QByteArray TestCsvFileStore::diedWith(const std::vector<Event>& events, QString& name)
{
    const auto store = openStore();
    std::unique_ptr<RecordWriter> writer;
    StoreResult result = store->create(newFacts("died"), writer);
    for (const Event& event : events) {
        result = writer->append(event.view());
    }
    result = writer->flush();
    if (!result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    name = files().value(0);
    const QByteArray content = contentOf(onlyFile());
    result = writer->close(0);
    writer.reset();
    QFile::remove(onlyFile());
    return content;
}

void TestCsvFileStore::aRecordIsOneFileThatAnybodyReads()
{
    const auto store = openStore();
    const std::vector<Event> events = randomEvents(101, 3'000);
    RecordFacts facts = newFacts("Pump; \"north\"", 1'768'471'200'123'456);
    facts.description = "two\nlines";
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(facts, writer));
    RR_DONE(writer->define("agent 1", R"({"outputs":[]})"));
    RR_DONE(writer->setInitial("agent 1", "out1", ValueView::fromDouble(0.5)));
    for (const Event& event : events) {
        RR_DONE(writer->append(event.view()));
    }
    writer->countLost("agent 1", "out1", LostIn::Network, 4);
    RR_DONE(writer->close(events.back().timeUs + 1));
    QCOMPARE(files().size(), 1);
    QVERIFY2(
        files()[0].endsWith(" Pump; _north_ " + QString::fromStdString(facts.uuid) + ".csv"), qPrintable(files()[0]));

    // As a file replay reads it, and as an import takes it.
    const auto reader = read(*store, facts.uuid);
    StoreResult result;
    const auto fromFile = csv::openFileRecord(onlyFile().toStdString(), {}, result);
    RR_DONE(result);
    RR_SAME_EVENTS(eventsOf(*fromFile), events);
    QCOMPARE(fromFile->facts().name, facts.name);
    QCOMPARE(fromFile->facts().description, facts.description);
    QCOMPARE(fromFile->facts().startUs, facts.startUs);
    QCOMPARE(fromFile->facts().durationUs, reader->facts().durationUs);
    QVERIFY(fromFile->facts().completeness == reader->facts().completeness);
    QVERIFY(fromFile->definitions() == reader->definitions());
    QVERIFY(fromFile->initialValues() == reader->initialValues());
    const QByteArray content = contentOf(onlyFile());
    QVERIFY(content.endsWith('\n') && !content.contains('\0'));
    const std::string copy = importAll(*store, "copy", content.toStdString(), 500);
    RR_SAME_EVENTS(eventsOf(*read(*store, copy)), events);
    QVERIFY(read(*store, copy)->facts().completeness == reader->facts().completeness);
}

void TestCsvFileStore::anotherProgramReadsTheFileWhileItGrows()
{
    const auto store = openStore();
    std::unique_ptr<RecordWriter> writer;
    RR_DONE(store->create(newFacts("growing"), writer));
    const QString path = onlyFile();
    const auto seen = [&] {
        QProcess cat;
        cat.start("cat", { path });
        cat.waitForFinished();
        return cat.readAllStandardOutput();
    };
    // One event, by its age alone.
    RR_DONE(writer->append(numbered(0).view()));
    const QDeadlineTimer deadline(3'000);
    std::int64_t elapsedUs = 1'000;
    while (readRows(seen()).events.empty()) {
        QVERIFY2(!deadline.hasExpired(), "an event was not in the file by its age");
        RR_DONE(writer->tick(elapsedUs += 20'000));
        QThread::msleep(20);
    }
    // Many, read at any moment: what stands there is a beginning of what was written.
    std::atomic<bool> isDone { false };
    std::thread recording([&] {
        for (int i = 1; i < 200'000; ++i) {
            (void)writer->append(numbered(i).view());
        }
        isDone = true;
    });
    std::size_t before = 0;
    int looks = 0;
    while (!isDone || looks < 3) {
        const ReadRows rows = readRows(seen());
        ++looks;
        if (!rows.isSound || rows.events.size() < before) {
            isDone = true;
            recording.join();
            QFAIL("a row in the middle was not whole, or one went away");
        }
        before = rows.events.size();
        for (std::size_t i = 0; i < rows.events.size(); i += 997) {
            if (!(rows.events[i] == numbered(static_cast<int>(i)))) {
                recording.join();
                QFAIL("another event stands there");
            }
        }
    }
    recording.join();
    RR_DONE(writer->flush());
    const ReadRows rows = readRows(seen());
    QCOMPARE(rows.left, std::size_t(0)); // nothing but whole rows
    QCOMPARE(rows.events.size(), std::size_t(200'000));
    RR_DONE(writer->close(0));
}

void TestCsvFileStore::aHalfWrittenRowIsTakenOffAndSaid_data()
{
    QTest::addColumn<QByteArray>("half");
    QTest::newRow("nothing half") << QByteArray();
    QTest::newRow("without its end") << QByteArray("agent;900000;output;o1;integer;1");
    QTest::newRow("the name alone") << QByteArray("agent");
    QTest::newRow("inside quotes") << QByteArray("agent;900000;output;o1;string;\"line\nline\nagent;1;out");
    QTest::newRow("zeros, as after a loss of power") << QByteArray(5'000, '\0');
}

void TestCsvFileStore::aHalfWrittenRowIsTakenOffAndSaid()
{
    QFETCH(QByteArray, half);
    QString name;
    const std::vector<Event> events = manyNumbered(500);
    const QByteArray content = diedWith(events, name);
    QVERIFY(!content.isEmpty());
    QVERIFY(write(m_under.place() + '/' + name, content + half));

    const auto store = openStore();
    const std::vector<RecordSummary> summaries = list(*store);
    QCOMPARE(summaries.size(), std::size_t(1));
    QVERIFY(!summaries[0].isOpen && !summaries[0].isRecording);
    QCOMPARE(summaries[0].events, 500U);
    QCOMPARE(summaries[0].durationUs, events.back().timeUs);
    QVERIFY(wasSaid(name.toUtf8().constData()));
    QCOMPARE(wasSaid("half-written row"), !half.isEmpty());
    const auto reader = read(*store, summaries[0].uuid);
    RR_SAME_EVENTS(eventsOf(*reader), events);
    QVERIFY(!reader->facts().completeness.isComplete());
    QVERIFY(contentOf(onlyFile()).startsWith(content));
    QVERIFY(readRows(contentOf(onlyFile())).isSound);
    // It is said once, and done once.
    const QByteArray repaired = contentOf(onlyFile());
    {
        const std::lock_guard guard(m_messagesMutex);
        m_messages.clear();
    }
    const auto again = openStore();
    QCOMPARE(list(*again).size(), std::size_t(1));
    QVERIFY(!wasSaid("closed"));
    QVERIFY(contentOf(onlyFile()) == repaired);
}

void TestCsvFileStore::whatAnImportLeftHalfDoneIsTakenOff()
{
    const std::vector<Event> events = manyNumbered(1'000);
    std::string file;
    std::string uuid;
    {
        const auto store = openStore();
        const std::string recorded = record(*store, events);
        file = exportAll(*store, recorded);
        RR_DONE(store->remove(recorded));
        uuid = importAll(*store, "copy", file, 100'000);
    }
    const QByteArray whole = contentOf(onlyFile());
    QVERIFY(write(onlyFile(), whole + "agent;7;output;o1;integer;7\nagent;8;output;o1;integer;8\n"));
    const auto store = openStore();
    QVERIFY(wasSaid(uuid.c_str()));
    QVERIFY(contentOf(onlyFile()) == whole);
    RR_SAME_EVENTS(eventsOf(*read(*store, uuid)), events);
    // It can go on.
    StoreResult result;
    const auto import = csv::Import::resume(*store, uuid, result);
    RR_DONE(result);
    RR_DONE(import->feed("agent;1000001;output;o1;integer;9\n\n"));
    QCOMPARE(eventsOf(*read(*store, uuid)).size(), std::size_t(1'001));
}

void TestCsvFileStore::aRecorderThatDiesIsSeenByTheOthers()
{
    QString name;
    const QByteArray content = diedWith(manyNumbered(10), name);
    const auto store = openStore();
    QVERIFY(write(m_under.place() + '/' + name, content));
    auto owner = std::make_unique<RecordFile>();
    RR_DONE(owner->open((m_under.place() + '/' + name).toStdString(), RecordFile::Access::Write));
    RR_DONE(owner->lock(RecordFile::Part::Owner));
    QVERIFY(list(*store).at(0).isRecording);
    std::uint64_t before = 0;
    RR_DONE(store->listRevision(before));
    QVERIFY(contentOf(onlyFile()) == content);

    owner.reset(); // as the system does for a process that ends
    const QDeadlineTimer deadline(5'000);
    std::uint64_t now = before;
    while (now == before && !deadline.hasExpired()) {
        QThread::msleep(20);
        RR_DONE(store->listRevision(now));
    }
    QVERIFY(now > before);
    QVERIFY(wasSaid("left open by a recorder that ended"));
    const RecordSummary summary = list(*store).at(0);
    QVERIFY(!summary.isOpen && !summary.isRecording);
    QCOMPARE(summary.events, 10U);
}

void TestCsvFileStore::foreignFilesAreLeftAlone()
{
    const QString place = m_under.place();
    const QByteArray good = "a;1;output;o;integer;1\n";
    const QStringList names = { "measurements.csv", "copy of a record.csv", "notes.txt",
        QString::fromStdString(newRecordUuid()) + ".csv", "x " + QString::fromStdString(newRecordUuid()) + ".CSV" };
    for (const QString& name : names) {
        QVERIFY(write(place + '/' + name, good));
    }
    QVERIFY(QDir(place).mkpath("a folder " + QString::fromStdString(newRecordUuid()) + ".csv"));
    const auto store = openStore();
    QVERIFY(list(*store).empty());
    for (const QString& name : names) {
        QVERIFY(contentOf(place + '/' + name) == good);
    }
    // One with a name of the store's kind is a record of it, from wherever it came: it only has to be closed.
    const std::string uuid = newRecordUuid();
    QVERIFY(write(place + "/from elsewhere " + QString::fromStdString(uuid) + ".csv", good));
    QCOMPARE(list(*store).size(), std::size_t(1));
    QCOMPARE(eventsOf(*read(*store, uuid)).size(), std::size_t(1));
    // Of two files of one record the first by name is the record.
    QVERIFY(QFile::copy(place + "/from elsewhere " + QString::fromStdString(uuid) + ".csv",
        place + "/zzz " + QString::fromStdString(uuid) + ".csv"));
    QCOMPARE(list(*store).size(), std::size_t(1));
    QVERIFY(wasSaid("zzz"));
}

void TestCsvFileStore::aFileOfANewerVersionIsLeftAlone()
{
    const std::string uuid = newRecordUuid();
    const QByteArray content = ";0;record;version;integer;2\na;1;output;o;integer;1\n";
    QVERIFY(write(m_under.place() + "/x " + QString::fromStdString(uuid) + ".csv", content));
    const auto store = openStore();
    QVERIFY(list(*store).empty());
    QVERIFY(wasSaid("newer recorder"));
    std::unique_ptr<RecordReader> reader;
    QVERIFY(store->open(uuid, reader).error == StoreError::NewerVersion);
    QVERIFY(contentOf(onlyFile()) == content);
}

void TestCsvFileStore::namesBecomeSafeFileNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("none") << QString();
    QTest::newRow("slashes") << QStringLiteral("a/b\\c");
    QTest::newRow("the folder above") << QStringLiteral("..");
    QTest::newRow("a path") << QStringLiteral("../../../etc/passwd");
    QTest::newRow("255 bytes") << QString(255, 'n');
    QTest::newRow("long, of wide characters") << QStringLiteral("日本語").repeated(100);
    QTest::newRow("line ends and quotes") << QStringLiteral("a\r\nb \"c\";\t*?<>|:");
    QTest::newRow("blanks") << QStringLiteral("  ");
    QTest::newRow("ends as a file does") << QStringLiteral("x.csv");
}

void TestCsvFileStore::namesBecomeSafeFileNames()
{
    QFETCH(QString, name);
    const auto store = openStore();
    const std::vector<Event> events = manyNumbered(20);
    const std::string uuid = record(*store, events, name.toStdString());
    QCOMPARE(QDir(m_under.place()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
    QCOMPARE(files().size(), 1);
    QVERIFY(files()[0].toUtf8().size() <= 255);
    QCOMPARE(list(*store).at(0).name, name.toStdString());
    RR_SAME_EVENTS(eventsOf(*read(*store, uuid)), events);
    RR_DONE(store->rename(uuid, "again"));
    RR_DONE(store->rename(uuid, name.toStdString() + "!"));
    const auto other = openStore();
    QCOMPARE(list(*other).at(0).name, name.toStdString() + "!");
    QCOMPARE(read(*other, uuid)->facts().name, name.toStdString() + "!");
    RR_DONE(other->remove(uuid));
    QVERIFY(files().isEmpty());
}

void TestCsvFileStore::twoRecordsOfOneNameAndStartAreTwoFiles()
{
    const auto store = openStore();
    const std::string first = record(*store, manyNumbered(10), "same");
    const std::string second = record(*store, manyNumbered(20), "same");
    QCOMPARE(files().size(), 2);
    QCOMPARE(list(*store).size(), std::size_t(2));
    QCOMPARE(eventsOf(*read(*store, first)).size(), std::size_t(10));
    QCOMPARE(eventsOf(*read(*store, second)).size(), std::size_t(20));
    RR_DONE(store->remove(first));
    QCOMPARE(eventsOf(*read(*store, second)).size(), std::size_t(20));
}

void TestCsvFileStore::damagedRowsCostOnlyThemselves_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<int>("lost");
    const QByteArray row = "agent;500000;output;o2;integer;500\n";
    QTest::newRow("a value") << row << QByteArray("agent;500000;output;o2;integer;5x0\n") << 1;
    QTest::newRow("a column") << row << QByteArray("agent;500000;output\n") << 1;
    QTest::newRow("binary") << row << QByteArray("\x00\xff\x80 \x01\n", 6) << 1;
    QTest::newRow("a quote that opens") << row << QByteArray("agent;500000;output;o2;string;\"500\n") << 1;
    QTest::newRow("a quote in a field") << row << QByteArray("ag\"ent;500000;output;o2;integer;500\n") << 1;
    QTest::newRow("two rows") << row + "agent;501000;output;o0;integer;501\n" << QByteArray("x\n;;;\n") << 2;
    QTest::newRow("a row taken out") << row << QByteArray() << 1;
}

void TestCsvFileStore::damagedRowsCostOnlyThemselves()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(int, lost);
    const std::vector<Event> events = manyNumbered(20'000);
    std::string uuid;
    {
        const auto store = openStore();
        uuid = record(*store, events);
    }
    QByteArray content = contentOf(onlyFile());
    QVERIFY(content.contains(from));
    content.replace(from, to);
    QVERIFY(write(onlyFile(), content));

    const auto store = openStore();
    QCOMPARE(list(*store).size(), std::size_t(1));
    const auto reader = read(*store, uuid);
    QVERIFY(reader);
    QCOMPARE(wasSaid("line 506"), !to.isEmpty()); // five facts stand before the events
    StoreResult result;
    const auto cursor = reader->events(0, events.back().timeUs, result);
    std::vector<Event> wanted = events;
    wanted.erase(wanted.begin() + 500, wanted.begin() + 500 + lost);
    RR_SAME_EVENTS(allOf(*cursor), wanted);
    const std::vector<Damage> damages = cursor->takeDamages();
    QCOMPARE(damages.size(), std::size_t(to.isEmpty() ? 0 : 1));
    if (!damages.empty()) {
        QCOMPARE(static_cast<int>(damages[0].events), lost);
        QVERIFY2(damages[0].reason.starts_with("line 506"), damages[0].reason.c_str());
        QCOMPARE(damages[0].firstUs, events[499].timeUs);
    }
    // A window elsewhere has nothing to do with it.
    const auto elsewhere = reader->events(10'000'000, 11'000'000, result);
    QCOMPARE(allOf(*elsewhere).size(), std::size_t(1'001));
    QVERIFY(elsewhere->takeDamages().empty());
    const Completeness completeness = reader->facts().completeness;
    QCOMPARE(completeness.stored(), wanted.size());
    QCOMPARE(static_cast<int>(completeness.lost()), lost);
    std::vector<OutputValue> state;
    RR_DONE(reader->stateBefore(events[503].timeUs, state));
    QVERIFY(state.at(0).value == Value(ValueView::fromInteger(lost == 2 ? 498 : 501)));
}

void TestCsvFileStore::aFileWhoseEndWasEditedIsClosedAnew()
{
    const std::vector<Event> events = manyNumbered(300);
    std::string uuid;
    {
        const auto store = openStore();
        uuid = record(*store, events);
        RR_DONE(store->rename(uuid, "renamed"));
    }
    QByteArray content = contentOf(onlyFile());
    content += "agent;400000;output;o1;integer;4"; // and no line end
    QVERIFY(write(onlyFile(), content));
    const auto store = openStore();
    QVERIFY(wasSaid("was changed by another program"));
    const RecordSummary summary = list(*store).at(0);
    QCOMPARE(summary.name, std::string("renamed"));
    QCOMPARE(summary.events, 300U);
    QVERIFY(!summary.isOpen);
    const auto reader = read(*store, uuid);
    RR_SAME_EVENTS(eventsOf(*reader), events);
    QVERIFY(reader->facts().completeness.isComplete());
    QVERIFY(reader->facts().origin == RecordOrigin::Recorded);
}

void TestCsvFileStore::whatAnotherProgramSavedIsNeverDestroyed_data()
{
    QTest::addColumn<int>("how");
    QTest::addColumn<int>("readable"); // events; -1: not listed
    QTest::newRow("with commas") << 0 << -1;
    QTest::newRow("as UTF-16") << 1 << -1;
    QTest::newRow("without any row end") << 2 << -1;
    QTest::newRow("with other numbers in the last rows") << 3 << 200;
}

void TestCsvFileStore::whatAnotherProgramSavedIsNeverDestroyed()
{
    QFETCH(int, how);
    QFETCH(int, readable);
    const std::vector<Event> events = manyNumbered(300);
    std::string uuid;
    {
        const auto store = openStore();
        uuid = record(*store, events);
    }
    QByteArray content = contentOf(onlyFile());
    if (how == 0) {
        content.replace(';', ',');
    } else if (how == 1) {
        const QString text = QString::fromUtf8(content);
        content = QByteArray("\xff\xfe") + QByteArray(reinterpret_cast<const char*>(text.utf16()), 2 * text.size());
    } else if (how == 2) {
        content.replace('\n', ' ');
    } else {
        const qsizetype from = content.indexOf("agent;200000;");
        QVERIFY(from > 0);
        content = content.left(from) + content.mid(from).replace("000;output", "E3;output").replace(";0;", ";0E0;");
    }
    QVERIFY(write(onlyFile(), content));
    {
        const std::lock_guard guard(m_messagesMutex);
        m_messages.clear();
    }

    const auto store = openStore();
    QVERIFY(wasSaid("is left as it is"));
    std::uint64_t before = 0;
    std::uint64_t now = 0;
    RR_DONE(store->listRevision(before));
    for (int i = 0; i < 3; ++i) {
        const std::vector<RecordSummary> summaries = list(*store);
        QCOMPARE(summaries.size(), std::size_t(readable < 0 ? 0 : 1));
        if (readable >= 0) {
            QCOMPARE(summaries[0].events, static_cast<std::uint64_t>(readable));
            QVERIFY(!summaries[0].isOpen);
        }
        RR_DONE(store->listRevision(now));
        QCOMPARE(now, before);
    }
    QVERIFY(store->rename(uuid, "other").error == StoreError::Refused);
    std::unique_ptr<RecordWriter> writer;
    QVERIFY(store->resume(uuid, writer).error == StoreError::Refused);
    std::unique_ptr<RecordReader> reader;
    RR_DONE(store->open(uuid, reader));
    QVERIFY(contentOf(onlyFile()) == content);
    // Said once.
    const std::lock_guard guard(m_messagesMutex);
    QCOMPARE(std::count_if(m_messages.begin(), m_messages.end(),
                 [](const std::string& message) { return message.find("is left as") != std::string::npos; }),
        1);
}

void TestCsvFileStore::anImportWhoseEndWasEditedKeepsEverything_data()
{
    QTest::addColumn<int>("how");
    QTest::newRow("the last line end taken off") << 0;
    QTest::newRow("other line ends") << 1;
    QTest::newRow("other line ends, and the last taken off") << 2;
    QTest::newRow("another name in the last rows") << 3;
    QTest::newRow("another name, and the last line end taken off") << 4;
}

void TestCsvFileStore::anImportWhoseEndWasEditedKeepsEverything()
{
    QFETCH(int, how);
    const std::vector<Event> events = manyNumbered(1'000);
    std::string uuid;
    {
        const auto store = openStore();
        const std::string recorded = record(*store, events);
        const std::string file = exportAll(*store, recorded);
        RR_DONE(store->remove(recorded));
        uuid = importAll(*store, "copy", file, 100'000);
    }
    const QByteArray whole = contentOf(onlyFile());
    QByteArray content = whole;
    if (how == 3 || how == 4) {
        const qsizetype name = content.lastIndexOf(";copy\n");
        QVERIFY(name > 0);
        content.replace(name, 6, ";by hand\n");
    }
    if (how == 0 || how == 4) {
        content.chop(1);
    }
    if (how == 1 || how == 2) {
        content.replace("\n", "\r\n");
        content.chop(how == 2 ? 2 : 0);
    }
    QVERIFY(content != whole);
    QVERIFY(write(onlyFile(), content));

    const auto store = openStore();
    QVERIFY(wasSaid("was changed by another program"));
    if (how == 0) {
        QVERIFY(contentOf(onlyFile()) == whole);
    }
    const RecordSummary summary = list(*store).at(0);
    QCOMPARE(summary.events, 1'000U);
    QCOMPARE(summary.name, std::string(how >= 3 ? "by hand" : "copy"));
    QVERIFY(!summary.isOpen);
    RR_SAME_EVENTS(eventsOf(*read(*store, uuid)), events);
    // Once, and no more.
    const QByteArray repaired = contentOf(onlyFile());
    std::uint64_t before = 0;
    std::uint64_t now = 0;
    RR_DONE(store->listRevision(before));
    const auto again = openStore();
    QCOMPARE(list(*again).size(), std::size_t(1));
    RR_DONE(store->listRevision(now));
    QVERIFY(contentOf(onlyFile()) == repaired);
}

void TestCsvFileStore::aHalfWrittenNameCostsNoEvent()
{
    const auto store = openStore();
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("one");
    RR_DONE(store->create(facts, writer));
    const std::vector<Event> events = manyNumbered(300);
    const QByteArray halves[] = { ";0;record;name;str", ";0;record;name;string;\"two\nthr" };
    std::size_t next = 0;
    for (const QByteArray& half : halves) {
        for (int i = 0; i < 100; ++i) {
            RR_DONE(writer->append(events[next++].view()));
        }
        RR_DONE(writer->flush());
        QFile file(onlyFile());
        QVERIFY(file.open(QIODevice::Append) && file.write(half) == half.size());
    }
    // The next name is not glued to it either.
    RR_DONE(writer->append(events[next++].view()));
    RR_DONE(writer->flush());
    {
        QFile file(onlyFile());
        QVERIFY(file.open(QIODevice::Append) && file.write(halves[0]) == halves[0].size());
    }
    RR_DONE(openStore()->rename(facts.uuid, "two"));
    for (; next < events.size(); ++next) {
        RR_DONE(writer->append(events[next].view()));
    }
    RR_DONE(writer->close(0));
    QCOMPARE(list(*store).at(0).events, std::uint64_t(events.size()));
    const auto reader = read(*store, facts.uuid);
    RR_SAME_EVENTS(eventsOf(*reader), events);
    QVERIFY(!wasSaid("cannot be read"));
    QVERIFY(readRows(contentOf(onlyFile())).isSound);
    QCOMPARE(reader->facts().name, std::string("two"));
}

void TestCsvFileStore::recordsAreMadeWhileAnotherRecorderLists()
{
    const auto store = openStore();
    const auto other = openStore();
    std::atomic<bool> isDone = false;
    std::thread lister([&] {
        std::vector<RecordSummary> summaries;
        while (!isDone) {
            (void)other->records({}, summaries);
        }
    });
    StoreResult result;
    for (int i = 0; i < 200 && result; ++i) {
        std::unique_ptr<RecordWriter> writer;
        const RecordFacts facts = newFacts("short");
        result = store->create(facts, writer);
        if (result) {
            result = writer->close(0);
            QFile::remove(onlyFile());
        }
    }
    isDone = true;
    lister.join();
    RR_DONE(result);
}

void TestCsvFileStore::aFileDeletedByHandIsOffTheList()
{
    const auto store = openStore();
    const std::vector<Event> events = manyNumbered(50'000);
    const std::string uuid = record(*store, events);
    const auto reader = read(*store, uuid);
    QCOMPARE(list(*store).size(), std::size_t(1));
    std::uint64_t before = 0;
    std::uint64_t now = 0;
    RR_DONE(store->listRevision(before));
    QVERIFY(QFile::remove(onlyFile()));
    RR_DONE(store->listRevision(now));
    QVERIFY(now > before);
    QVERIFY(list(*store).empty());
    std::unique_ptr<RecordReader> none;
    QVERIFY(store->open(uuid, none).error == StoreError::NotFound);
    QVERIFY(store->rename(uuid, "x").error == StoreError::NotFound);
    QVERIFY(store->remove(uuid).error == StoreError::NotFound);
    // Who has it open reads it to its end.
    RR_SAME_EVENTS(eventsOf(*reader), events);
}

void TestCsvFileStore::aFileDeletedDuringItsRecordingIsSaidSo()
{
    const auto store = openStore();
    {
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(newFacts("gone"), writer));
        RR_DONE(writer->append(numbered(0).view()));
        RR_DONE(writer->flush());
        const QString path = onlyFile();
        QVERIFY(QFile::remove(path));
        RR_DONE(writer->append(numbered(1).view()));
        const StoreResult result = writer->flush();
        QVERIFY(result.error == StoreError::NotFound);
        QVERIFY2(result.message.find(path.toStdString()) != std::string::npos, result.message.c_str());
        QVERIFY(!writer->close(0));
    }
    QVERIFY(wasSaid("was deleted while it was written"));
    QVERIFY(!wasSaid("goes on trying"));
    QVERIFY(list(*store).empty());
    record(*store, manyNumbered(10), "next");
    QCOMPARE(list(*store).size(), std::size_t(1));
}

void TestCsvFileStore::aRecordIsRenamedWhileItIsRecorded()
{
    const auto store = openStore();
    const auto other = openStore();
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("one");
    RR_DONE(store->create(facts, writer));
    std::vector<Event> events = manyNumbered(400);
    std::size_t next = 0;
    for (Store* renaming : { store.get(), other.get() }) {
        for (int i = 0; i < 200; ++i) {
            RR_DONE(writer->append(events[next++].view()));
        }
        const std::string name = "name " + std::to_string(next);
        RR_DONE(renaming->rename(facts.uuid, name));
        QCOMPARE(list(*renaming).at(0).name, name);
        RR_DONE(writer->flush());
        for (Store* any : { store.get(), other.get() }) {
            QCOMPARE(list(*any).at(0).name, name);
            QVERIFY(list(*any).at(0).isRecording);
        }
    }
    RR_DONE(writer->close(0));
    QCOMPARE(list(*store).at(0).name, std::string("name 400"));
    QCOMPARE(list(*other).at(0).name, std::string("name 400"));
    const auto reader = read(*other, facts.uuid);
    QCOMPARE(reader->facts().name, std::string("name 400"));
    RR_SAME_EVENTS(eventsOf(*reader), events);
}

void TestCsvFileStore::silenceIsPartOfTheLength()
{
    QString name;
    QByteArray content;
    {
        const auto store = openStore();
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(newFacts("silent"), writer));
        RR_DONE(writer->append(numbered(1).view()));
        for (std::int64_t elapsedUs = 0; elapsedUs <= 3'600'000'000; elapsedUs += 100'000) {
            RR_DONE(writer->tick(elapsedUs));
        }
        name = files().value(0);
        content = contentOf(onlyFile());
        RR_DONE(writer->close(0));
    }
    QVERIFY(QFile::remove(m_under.place() + '/' + name));
    QVERIFY(write(m_under.place() + '/' + name, content)); // killed after an hour
    QVERIFY2(content.size() < 20'000, qPrintable(QString::number(content.size())));
    const auto store = openStore();
    QVERIFY(list(*store).at(0).durationUs > 3'589'000'000);
    QVERIFY(list(*store).at(0).durationUs <= 3'600'000'000);
}

void TestCsvFileStore::lossesAreToldBeforeTheEnd()
{
    QString name;
    QByteArray content;
    {
        const auto store = openStore();
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(newFacts("lossy"), writer));
        RR_DONE(writer->append(numbered(0).view()));
        writer->countLost("agent", "o0", LostIn::Queue, 7);
        writer->remark("Something happened.");
        RR_DONE(writer->tick(6'000'000));
        RR_DONE(writer->append(Event(6'000'000, "agent", "o0", ValueView::impulse()).view()));
        RR_DONE(writer->flush());
        name = files().value(0);
        content = contentOf(onlyFile());
        RR_DONE(writer->close(0));
    }
    QVERIFY(QFile::remove(m_under.place() + '/' + name));
    QVERIFY(write(m_under.place() + '/' + name, content));
    const auto store = openStore();
    const Completeness completeness = read(*store, list(*store).at(0).uuid)->facts().completeness;
    QCOMPARE(completeness.outputs.at(0).lostQueue, 7U);
    QCOMPARE(completeness.outputs[0].stored, 2U);
    QCOMPARE(completeness.outputs[0].lostStore, 0U);
    QCOMPARE(completeness.remarks.size(), std::size_t(2));
    QCOMPARE(completeness.remarks[0], std::string("Something happened."));
}

void TestCsvFileStore::aFullDiskEndsTheRecordingAndLosesNothing()
{
    checkFullDisk([](const std::string& directory) {
        CsvFileOptions options;
        options.directory = directory;
        StoreResult result;
        std::unique_ptr<Store> store = openCsvFileStore(options, result);
        if (!store) {
            QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
        }
        return store;
    });
}

void TestCsvFileStore::eventsBeyondTheBoundAreCountedWhenTheFileIsBlocked()
{
    CsvFileOptions options;
    options.directory = m_under.place().toStdString();
    options.pendingBytes = 1'000'000;
    StoreResult result;
    const auto store = openCsvFileStore(options, result);
    RR_DONE(result);
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts("blocked");
    RR_DONE(store->create(facts, writer));
    {
        RecordFile other;
        RR_DONE(other.open(onlyFile().toStdString(), RecordFile::Access::Write));
        RR_DONE(other.lock(RecordFile::Part::Editing));
        int failures = 0;
        for (int i = 0; i < 40'000; ++i) {
            failures += writer->append(numbered(i).view()) ? 0 : 1;
        }
        QVERIFY(failures > 0);
    }
    RR_DONE(writer->close(0));
    const auto reader = read(*store, facts.uuid);
    const std::vector<Event> events = eventsOf(*reader);
    const Completeness completeness = reader->facts().completeness;
    QVERIFY(completeness.lost() > 0);
    QCOMPARE(completeness.lost() + events.size(), 40'000U);
    QVERIFY(events.size() > 20'000);
    RR_SAME_EVENTS(events, manyNumbered(static_cast<int>(events.size())));
}

void TestCsvFileStore::aPlaceThatCannotBeWrittenIsSaidSo()
{
    QVERIFY(write(m_under.place() + "/file", "x"));
    for (const QString& place :
        { m_under.place() + "/file", m_under.place() + "/file/below", QStringLiteral("/proc/here") }) {
        CsvFileOptions options;
        options.directory = place.toStdString();
        StoreResult result;
        QVERIFY(!openCsvFileStore(options, result));
        QVERIFY(result.error == StoreError::Unreachable);
        QVERIFY2(result.message.find(options.directory.string()) != std::string::npos, result.message.c_str());
        QVERIFY2(result.message.find("--data-directory") != std::string::npos, result.message.c_str());
    }
}

// Whatever the pieces in which a file comes, also when it comes with damages.
void TestCsvFileStore::aFileLookedThroughInPiecesIsTheSame()
{
    std::vector<Event> events = randomEvents(7, 6'000);
    events[3'000].value = ValueView::fromString(std::string(300'000, 'x') + "\n\"");
    QByteArray content;
    {
        const auto store = openStore();
        record(*store, events);
        content = contentOf(onlyFile());
    }
    const QByteArray bad = "agent;no row at all\n";
    content.insert(content.indexOf("\nagent", content.size() / 3) + 1, bad);
    const QString path = m_under.place() + "/pieces";
    std::mt19937_64 random(3);
    for (const int most : { 100'000, 3'000 }) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered));
        auto shared = std::make_shared<csv::SharedIndex>(path.toStdString(), csv::FileIndex::BadRows::PassOver);
        for (qsizetype at = 0; at < content.size();) {
            const auto size = std::min<qsizetype>(
                content.size() - at, 1 + static_cast<qsizetype>(random() % static_cast<std::uint64_t>(most)));
            QCOMPARE(file.write(content.constData() + at, size), size);
            at += size;
            RR_DONE(shared->index.update(true));
            if (random() % 4 == 0) {
                shared->index.seal();
            }
        }
        shared->index.seal();
        QCOMPARE(shared->index.events(), events.size());
        QCOMPARE(shared->index.damages(), std::size_t(1));
        QCOMPARE(shared->index.soundEnd(), static_cast<std::uint64_t>(content.size()));
        ChunkedReader reader(std::make_unique<csv::FileBackend>(shared), shared->index.facts(),
            shared->index.definitions(), shared->index.initialValues());
        RR_SAME_EVENTS(eventsOf(reader), events);
    }
}

// Somebody may hand out a folder with a link in it: what that leads to is not ours to write into.
void TestCsvFileStore::aLinkIsReadAndNeverWrittenInto()
{
    QTemporaryDir elsewhere;
    const QByteArray row = "a;5;output;o;integer;1\n";
    const std::pair<QString, QByteArray> targets[] = { { elsewhere.filePath("keys"), "" },
        { elsewhere.filePath("record"), row }, { elsewhere.filePath("half"), row + "a;6;outp" } };
    int number = 0;
    for (const auto& [path, content] : targets) {
        QVERIFY(write(path, content));
        // The link's name would be the record's, and so stand in the file, on a line of its own.
        QVERIFY(QFile::link(path,
            m_under.place()
                + QStringLiteral("/\nkey of mine\n 0f5c2f1e-6a0b-4a56-9d3e-00000000000%1.csv").arg(number++)));
    }
    const auto store = openStore();
    const std::vector<RecordSummary> records = list(*store);
    QCOMPARE(records.size(), std::size_t(2)); // the empty one is none
    for (const RecordSummary& record : records) {
        QCOMPARE(eventsOf(*read(*store, record.uuid)).size(), std::size_t(1));
        for (const StoreResult& result : { store->rename(record.uuid, "mine"), store->remove(record.uuid) }) {
            QVERIFY(!result);
            QVERIFY2(result.message.find("is a link") != std::string::npos, result.message.c_str());
        }
    }
    for (const auto& [path, content] : targets) {
        QCOMPARE(contentOf(path), content);
    }
}

void TestCsvFileStore::whatIsClosedStaysClosed_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("rows");
    const QByteArray row = "a;5;output;o;integer;1\n";
    QTest::newRow("a file's name that is no text") << QByteArray("n\xe4me") << row;
    QTest::newRow("a year beyond the last")
        << QByteArray("name") << ";0;record;start_date;string;9999-12-31T23:59:59-14:00\n" + row;
    QTest::newRow("a year before the first")
        << QByteArray("name") << ";0;record;start_date;string;0001-01-01T00:00:00+14:00\n" + row;
    QTest::newRow("a name without end") << QByteArray("name")
                                        << ";0;record;name;string;" + QByteArray(17 * 1024 * 1024, 'n') + '\n' + row;
}

// What is closed again each time that the list is asked for fills the disk.
void TestCsvFileStore::whatIsClosedStaysClosed()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, rows);
    const QByteArray path = m_under.place().toUtf8() + '/' + name + " 0f5c2f1e-6a0b-4a56-9d3e-000000000001.csv";
    const auto content = [&] {
        std::ifstream file(path.toStdString(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    std::ofstream(path.toStdString(), std::ios::binary) << rows.toStdString();
    const auto removed = qScopeGuard([&] { std::filesystem::remove(path.toStdString()); }); // Qt cannot name it
    const auto store = openStore();
    QCOMPARE(list(*store).size(), std::size_t(1));
    const std::string closed = content();
    QVERIFY(closed.size() > static_cast<std::size_t>(rows.size()));
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(list(*store).size(), std::size_t(1));
        QCOMPARE(openStore() != nullptr, true);
    }
    QVERIFY(content() == closed);
    QVERIFY(closed.size() < static_cast<std::size_t>(rows.size()) + 100'000);
    RR_DONE(store->rename("0f5c2f1e-6a0b-4a56-9d3e-000000000001", std::string(17 * 1024 * 1024, 'm')));
    const std::string renamed = content();
    QCOMPARE(list(*store).size(), std::size_t(1));
    QVERIFY(content() == renamed);
}

int main(int argc, char** argv)
{
    CsvFilesUnderTest store;
    if (const int status = childMain(argc, argv, store); status >= 0) {
        return status;
    }
    QCoreApplication application(argc, argv);
    TestCsvFileStore test(store);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_csvfilestore.moc"
