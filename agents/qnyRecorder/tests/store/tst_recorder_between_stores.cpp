// SPDX-License-Identifier: Apache-2.0
#include "../cassandracluster.h"
#include "recordtools.h"
#include "store/csvfile/csvfilestore.h"
#include "store/embedded/embeddedstore.h"
#ifdef RR_HAS_CASSANDRA
#include "store/cassandra/cassandrastore.h"
#endif

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QString>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <bit>
#include <mutex>

using namespace recorder;
using namespace recorder::testing;

namespace {

constexpr std::uint64_t fixedSeed = 20261122;
constexpr const char* seedVariable = "RECORDER_STORES_SEED";

// What a recorder is given while it records: the same for every store.
struct Script
{
    RecordFacts facts; // the length, too
    std::vector<AgentDefinition> definitions; // given while the recording goes on; an agent may come again
    std::vector<OutputValue> initialValues; // the same
    std::vector<Event> events;
};

// ---- random scripts

class Dice
{
public:
    explicit Dice(std::uint64_t seed)
        : m_random(seed)
    {
    }
    std::uint64_t bits() { return m_random(); }
    // 0 to most - 1.
    std::uint64_t below(std::uint64_t most) { return m_random() % most; }
    bool oneIn(std::uint64_t times) { return below(times) == 0; }

    // Any Unicode, and often what means something in a file.
    std::string text(std::size_t most)
    {
        static constexpr std::array<const char*, 14> special { "\"", ";", "\n", "\r\n", "\r", "\"\"", " ", "\t", "\\n",
            "\xEF\xBB\xBF", "'", "%", "{", "#" };
        QString text;
        for (std::uint64_t left = below(most + 1); left > 0; --left) {
            if (oneIn(4)) {
                text += QString::fromUtf8(special[below(special.size())]);
                continue;
            }
            const std::array<char32_t, 5> ends { 0x7F, 0x800, 0xD800, 0x10000, 0x110000 };
            auto character = static_cast<char32_t>(1 + below(ends[below(ends.size())] - 1)); // no text holds a zero
            if (character >= 0xD800 && character < 0xE000) {
                character -= 0x800; // no half of a pair
            }
            text += QString::fromUcs4(&character, 1);
        }
        return text.toStdString();
    }
    // What an agent, an output or a record may be called.
    std::string name()
    {
        std::string name = text(12) + "n" + std::to_string(below(100));
        std::erase_if(name, [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; });
        return name;
    }

    std::string bytes(std::size_t most)
    {
        std::string bytes(below(most + 1), '\0');
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<char>(bits()); });
        return bytes;
    }

    Value value()
    {
        const std::size_t most = oneIn(50) ? 5'000 : 30;
        switch (below(6)) {
        case 0:
            return ValueView::impulse();
        case 1:
            return ValueView::fromBool(oneIn(2));
        case 2:
            return ValueView::fromInteger(static_cast<std::int32_t>(bits()));
        case 3:
            return ValueView::fromDouble(std::bit_cast<double>(bits()));
        case 4:
            return ValueView::fromString(text(most));
        default:
            return ValueView::fromData(bytes(most));
        }
    }

private:
    std::mt19937_64 m_random;
};

// Mostly a little later, often at the same time, now and then after a long silence.
std::int64_t randomStep(Dice& dice)
{
    if (dice.oneIn(3)) {
        return 0;
    }
    if (dice.oneIn(400)) {
        return static_cast<std::int64_t>(dice.below(1'500'000'000));
    }
    return static_cast<std::int64_t>(dice.below(dice.oneIn(20) ? 3'000'000 : 2'000));
}

// `count` events with random values, and every awkward one of at most so many bytes among them.
Script randomScript(std::uint64_t seed, std::size_t count, std::size_t mostAwkward)
{
    Dice dice(seed);
    Script script;
    script.facts.uuid = newRecordUuid();
    script.facts.name = dice.name();
    script.facts.description = dice.text(60);
    script.facts.startUs = 1'500'000'000'000'000 + static_cast<std::int64_t>(dice.below(500'000'000'000'000));

    std::vector<std::pair<std::string, std::string>> outputs;
    for (int agent = 0; agent < 6; ++agent) {
        const std::string name = dice.name() + std::to_string(agent);
        if (agent > 0) { // one has no definition
            script.definitions.push_back({ name, dice.text(80) });
        }
        for (int output = 0; output < 5; ++output) {
            outputs.emplace_back(name, dice.name() + std::to_string(output));
            if (dice.oneIn(2)) {
                script.initialValues.push_back({ name, outputs.back().second, dice.value() });
            }
        }
    }
    script.initialValues.push_back({ script.definitions[0].agent, "never published", dice.value() });
    script.initialValues.push_back(script.initialValues[0]);
    script.initialValues.back().value = dice.value();
    script.definitions.push_back({ script.definitions[1].agent, dice.text(80) });
    script.facts.completeness.outputs
        = { { outputs[0].first, outputs[0].second, 0, dice.below(9), 1, 0, 0 }, { "silent", "lost", 0, 2, 0, 5, 0 } };
    script.facts.completeness.remarks = { "r" + dice.text(40) };

    std::vector<Value> awkward = awkwardValues();
    std::erase_if(awkward, [&](const Value& value) { return value.view().bytes.size() > mostAwkward; });
    count += awkward.size();
    std::int64_t timeUs = 0;
    for (std::size_t i = 0; i < count; ++i) {
        timeUs += randomStep(dice);
        std::int64_t late = 0;
        if (dice.oneIn(8)) {
            late = static_cast<std::int64_t>(dice.oneIn(10) ? dice.below(60'000'000) : dice.below(5'000));
        }
        const auto& [agent, output] = outputs[dice.below(outputs.size())];
        // As many awkward ones to come as events are left: each comes once, anywhere.
        const bool isAwkward = dice.below(count - i) < awkward.size();
        script.events.emplace_back(
            std::max<std::int64_t>(timeUs - late, 0), agent, output, isAwkward ? awkward.back() : dice.value());
        if (isAwkward) {
            awkward.pop_back();
        }
    }
    script.facts.durationUs = timeUs + static_cast<std::int64_t>(dice.below(100'000));
    return script;
}

// ---- recording, and what must come of it

StoreResult record(Store& store, const Script& script)
{
    std::unique_ptr<RecordWriter> writer;
    RecordFacts facts = script.facts;
    facts.completeness = {};
    facts.durationUs = 0;
    StoreResult result = store.create(facts, writer);
    if (!result) {
        return result;
    }
    for (const OutputCompleteness& output : script.facts.completeness.outputs) {
        writer->countLost(output.agent, output.output, LostIn::Network, output.lostNetwork);
        writer->countLost(output.agent, output.output, LostIn::Queue, output.lostQueue);
        writer->countLost(output.agent, output.output, LostIn::Store, output.lostStore);
    }
    // Agents come while the recording goes on.
    const std::size_t count = script.events.size();
    const auto isDue = [count](std::size_t given, std::size_t ofAll, std::size_t event) {
        return given < ofAll && (event == count || given * count <= event * ofAll);
    };
    std::size_t defined = 0;
    std::size_t initials = 0;
    std::int64_t lastUs = 0;
    for (std::size_t i = 0; i <= count; ++i) {
        for (; result && isDue(defined, script.definitions.size(), i); ++defined) {
            result = writer->define(script.definitions[defined].agent, script.definitions[defined].json);
        }
        for (; result && isDue(initials, script.initialValues.size(), i); ++initials) {
            const OutputValue& initial = script.initialValues[initials];
            result = writer->setInitial(initial.agent, initial.output, initial.value);
        }
        if (result && i < count) {
            lastUs = std::max(lastUs, script.events[i].timeUs);
            result = writer->append(script.events[i].view());
        }
        if (result && i % 500 == 499) {
            result = writer->tick(lastUs);
        }
        if (!result) {
            return result;
        }
    }
    for (const std::string& sentence : script.facts.completeness.remarks) {
        writer->remark(sentence);
    }
    return writer->close(script.facts.durationUs);
}

// In the order of the first ones, with the content of the last ones.
template <typename Entry, typename Same> std::vector<Entry> lastOfEach(const std::vector<Entry>& given, Same isSame)
{
    std::vector<Entry> last;
    for (const Entry& entry : given) {
        const auto before
            = std::find_if(last.begin(), last.end(), [&](const Entry& other) { return isSame(other, entry); });
        if (before == last.end()) {
            last.push_back(entry);
        } else {
            *before = entry;
        }
    }
    return last;
}

// What every record of a script holds, worked out without a store.
class Expected
{
public:
    explicit Expected(const Script& script)
        : m_script(script)
        , m_events(inOrder(script.events))
        , m_definitions(lastOfEach(script.definitions, [](const auto& a, const auto& b) { return a.agent == b.agent; }))
        , m_initialValues(lastOfEach(script.initialValues,
              [](const auto& a, const auto& b) { return a.agent == b.agent && a.output == b.output; }))
    {
    }

    // The first thing in which a record differs; empty when there is none. Looks at the beginning, the end and so many
    // moments that the seed gives.
    std::string difference(RecordReader& reader, std::uint64_t seed, int mostMoments = 12) const
    {
        const RecordFacts& facts = reader.facts();
        if (facts.startUs != m_script.facts.startUs || facts.durationUs != m_script.facts.durationUs
            || facts.description != m_script.facts.description) {
            return "the start, the length or the description differs";
        }
        if (facts.completeness.stored() != m_events.size()
            || facts.completeness.lost() != m_script.facts.completeness.lost()
            || facts.completeness.remarks != m_script.facts.completeness.remarks) {
            return "the completeness is " + facts.completeness.toJson();
        }
        if (reader.definitions() != m_definitions) {
            return "the definitions differ";
        }
        if (reader.initialValues() != m_initialValues) {
            return "the initial values differ";
        }
        if (const std::string wrong = testing::difference(eventsOf(reader), m_events); !wrong.empty()) {
            return wrong;
        }
        Dice dice(seed);
        std::vector<std::int64_t> moments = { 0, m_events.back().timeUs + 1 };
        for (int i = 0; i < mostMoments; ++i) {
            moments.push_back(m_events[dice.below(m_events.size())].timeUs + static_cast<std::int64_t>(dice.below(3)));
        }
        for (const std::int64_t moment : moments) {
            std::vector<OutputValue> state;
            const StoreResult result = reader.stateBefore(moment, state);
            if (!result) {
                return result.message;
            }
            const std::string when = " at " + std::to_string(moment);
            if (state != stateOf(m_events, moment, m_initialValues)) {
                return "the state" + when + " differs";
            }
            const std::int64_t endUs = moment + static_cast<std::int64_t>(dice.below(2'000'000));
            const std::string wrong
                = testing::difference(eventsOf(reader, moment, endUs), window(m_events, moment, endUs));
            if (!wrong.empty()) {
                return wrong + when;
            }
        }
        return {};
    }

private:
    const Script& m_script;
    const std::vector<Event> m_events;
    const std::vector<AgentDefinition> m_definitions;
    const std::vector<OutputValue> m_initialValues;
};

RecordSummary summaryOf(Store& store, const std::string& uuid)
{
    std::vector<RecordSummary> list;
    const StoreResult result = store.records({}, list);
    const auto found
        = std::find_if(list.begin(), list.end(), [&](const RecordSummary& line) { return line.uuid == uuid; });
    if (!result || found == list.end()) {
        QTest::qFail(result ? "the record is not listed" : result.message.c_str(), __FILE__, __LINE__);
        return {};
    }
    return *found;
}

// Everything that the list tells.
std::string toText(const RecordSummary& line)
{
    return recordsToJson({ line }) + " of " + std::to_string(line.events) + " events, open " + (line.isOpen ? "1" : "0")
        + (line.isOwnedHere ? "1" : "0") + (line.isRecording ? "1" : "0") + ", imported "
        + (line.origin == RecordOrigin::Imported ? "1" : "0");
}

} // namespace

#define RR_NO_PROBLEM(expression)                                                                                      \
    do {                                                                                                               \
        const std::string rrProblem = (expression);                                                                    \
        QVERIFY2(rrProblem.empty(), rrProblem.c_str());                                                                \
    } while (false)

// What is recorded is the same wherever it is kept, and wherever it is taken.
class TestBetweenStores : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cassandraTakesPart();
    void theSameRecordingIsTheSameRecordEverywhere_data() { scripts(); }
    void theSameRecordingIsTheSameRecordEverywhere();
    void aRecordGoesFromEveryStoreIntoEveryOther_data();
    void aRecordGoesFromEveryStoreIntoEveryOther();
    void whateverWasRecordedSurvivesAJourneyThroughAllStores_data() { scripts(); }
    void whateverWasRecordedSurvivesAJourneyThroughAllStores();
    void theSearchFindsTheSameRecordsEverywhere();
    void noStoreHadAnythingToComplainOf();

private:
    struct Place
    {
        const char* name;
        std::unique_ptr<Store> store;
    };

    void scripts();
    Store::MessageHandler handlerFor(const char* name);
    void add(const char* name, std::unique_ptr<Store> store, const StoreResult& result);
    // Without Cassandra, and why.
    QString addCassandra();
    // Records it everywhere, and checks that it is the same everywhere. Gives its file.
    void recordEverywhere(const Script& script, std::uint64_t seed, std::string& file);

    QTemporaryDir m_directory;
    CassandraCluster m_cluster;
    QString m_whyNoCassandra;
    std::vector<Place> m_places; // end before the cluster
    std::mutex m_mutex;
    std::vector<std::string> m_messages;
};

Store::MessageHandler TestBetweenStores::handlerFor(const char* name)
{
    return [this, name](const std::string& message) {
        const std::lock_guard guard(m_mutex);
        m_messages.push_back(std::string(name) + ": " + message);
    };
}

void TestBetweenStores::add(const char* name, std::unique_ptr<Store> store, const StoreResult& result)
{
    QVERIFY2(store, result.message.c_str());
    m_places.push_back({ name, std::move(store) });
}

QString TestBetweenStores::addCassandra()
{
#ifdef RR_HAS_CASSANDRA
    QString why = CassandraCluster::whyNotAvailable();
    if (why.isEmpty()) {
        why = m_cluster.start();
    }
    if (!why.isEmpty()) {
        return why;
    }
    CassandraOptions options;
    options.host = m_cluster.host().toStdString();
    options.port = m_cluster.port();
    options.journals = m_directory.filePath(QStringLiteral("journals")).toStdString();
    options.onMessage = handlerFor("cassandra");
    StoreResult result;
    std::unique_ptr<Store> store = openCassandraStore(options, result);
    add("cassandra", std::move(store), result);
    return {};
#else
    return QStringLiteral("this build has no Cassandra");
#endif
}

void TestBetweenStores::initTestCase()
{
    QVERIFY(m_directory.isValid());
    StoreResult result;
    EmbeddedOptions embedded;
    embedded.directory = m_directory.filePath(QStringLiteral("embedded")).toStdString();
    embedded.onMessage = handlerFor("embedded");
    add("embedded", openEmbeddedStore(embedded, result), result);
    CsvFileOptions files;
    files.directory = m_directory.filePath(QStringLiteral("files")).toStdString();
    files.onMessage = handlerFor("files");
    add("files", openCsvFileStore(files, result), result);
    m_whyNoCassandra = addCassandra();
}

void TestBetweenStores::cassandraTakesPart()
{
    if (!m_whyNoCassandra.isEmpty()) {
        QSKIP(qPrintable(m_whyNoCassandra));
    }
    QCOMPARE(m_places.size(), std::size_t(3));
}

void TestBetweenStores::scripts()
{
    QTest::addColumn<quint64>("seed");
    bool isGiven = false;
    const quint64 seed = qEnvironmentVariable(seedVariable).toULongLong(&isGiven);
    if (isGiven) {
        QTest::newRow("the given seed") << seed;
        return;
    }
    QTest::newRow("the fixed seed") << quint64(fixedSeed);
    QTest::newRow("a fresh seed") << QRandomGenerator::system()->generate64();
}

void TestBetweenStores::recordEverywhere(const Script& script, std::uint64_t seed, std::string& file)
{
    const Expected expected(script);
    Dice dice(seed);
    std::string listed;
    for (const Place& place : m_places) {
        RR_DONE(record(*place.store, script));
        RR_NO_PROBLEM(expected.difference(*read(*place.store, script.facts.uuid), seed));
        const std::string line = toText(summaryOf(*place.store, script.facts.uuid));
        const std::string exported = exportAll(*place.store, script.facts.uuid);
        if (&place == &m_places.front()) {
            listed = line;
            file = exported;
        }
        QCOMPARE(line, listed);
        QVERIFY2(exported == file, place.name);
        const csv::ExportLimits limits { 20 + dice.below(500), 5'000 + dice.below(100'000) };
        QVERIFY2(exportAll(*place.store, script.facts.uuid, limits) == file, place.name);
    }
    // The list tells what was recorded.
    const RecordSummary summary = summaryOf(*m_places.front().store, script.facts.uuid);
    QCOMPARE(summary.name, script.facts.name);
    QCOMPARE(summary.startUs, script.facts.startUs);
    QCOMPARE(summary.durationUs, script.facts.durationUs);
    QCOMPARE(summary.events, script.events.size());
}

void TestBetweenStores::theSameRecordingIsTheSameRecordEverywhere()
{
    QFETCH(quint64, seed);
    qInfo("%s=%llu", seedVariable, static_cast<unsigned long long>(seed));
    std::string file;
    recordEverywhere(randomScript(seed, 5'000, 1'000), seed, file);
}

void TestBetweenStores::aRecordGoesFromEveryStoreIntoEveryOther_data()
{
    QTest::addColumn<int>("rows");
    QTest::newRow("row by row") << 1;
    QTest::newRow("in small chunks") << 23;
    QTest::newRow("in chunks as the module sends them") << 10'000;
}

void TestBetweenStores::aRecordGoesFromEveryStoreIntoEveryOther()
{
    QFETCH(int, rows);
    const Script script = randomScript(fixedSeed + static_cast<std::uint64_t>(rows), 60, 1'000);
    const Expected expected(script);
    std::string recorded;
    recordEverywhere(script, fixedSeed, recorded);
    if (QTest::currentTestFailed()) {
        return;
    }
    for (const Place& from : m_places) {
        const std::string file = exportAll(*from.store, script.facts.uuid);
        for (const Place& to : m_places) {
            const std::string way = std::string(from.name) + " to " + to.name;
            const std::string name = way + QTest::currentDataTag();
            const std::string copy = importAll(*to.store, name, file, static_cast<std::size_t>(rows));
            RR_NO_PROBLEM(expected.difference(*read(*to.store, copy), fixedSeed));
            RecordSummary line = summaryOf(*to.store, copy);
            QCOMPARE(line.name, name);
            QVERIFY(line.origin == RecordOrigin::Imported);
            // But for what an import must differ in, it is listed as the original.
            line.uuid = script.facts.uuid;
            line.name = script.facts.name;
            line.origin = RecordOrigin::Recorded;
            QCOMPARE(toText(line), toText(summaryOf(*from.store, script.facts.uuid)));
            const std::string again = exportAll(*to.store, copy);
            QVERIFY2(again != file, way.c_str());
            QVERIFY2(withoutName(again) == withoutName(file), way.c_str());
        }
    }
}

void TestBetweenStores::whateverWasRecordedSurvivesAJourneyThroughAllStores()
{
    QFETCH(quint64, seed);
    qInfo("%s=%llu", seedVariable, static_cast<unsigned long long>(seed));
    const Script script = randomScript(seed + 1, 1'500, 2'000'000);
    const Expected expected(script);
    std::string recorded;
    recordEverywhere(script, seed, recorded);
    if (QTest::currentTestFailed()) {
        return;
    }
    // Each store follows each once, itself included: every copy is made from the one before.
    std::vector<const Place*> journey;
    for (auto one = m_places.begin(); one != m_places.end(); ++one) {
        journey.push_back(&*one);
        for (auto other = one + 1; other != m_places.end(); ++other) {
            journey.insert(journey.end(), { &*one, &*other });
        }
    }
    journey.push_back(&m_places.front());

    const std::string wanted = withoutName(recorded);
    Dice dice(seed);
    std::string uuid = script.facts.uuid;
    for (std::size_t i = 1; i < journey.size(); ++i) {
        const std::string way = std::string(journey[i - 1]->name) + " to " + journey[i]->name;
        const csv::ExportLimits limits { 50 + dice.below(2'000), 20'000 + dice.below(2'000'000) };
        const std::string file = exportAll(*journey[i - 1]->store, uuid, limits);
        QVERIFY2(withoutName(file) == wanted, way.c_str());
        uuid = importAll(*journey[i]->store, way, file, 10 + dice.below(2'000));
        RR_NO_PROBLEM(expected.difference(*read(*journey[i]->store, uuid), seed + i, 2));
    }
    QVERIFY(withoutName(exportAll(*journey.back()->store, uuid)) == wanted);
}

void TestBetweenStores::theSearchFindsTheSameRecordsEverywhere()
{
    const std::vector<std::string> names
        = { "Pump", "pump 2; \"night\"", "PUMPE", "Grüße ÄPFEL", "größe", "100 %", "under_score", "line\nend" };
    for (std::size_t i = 0; i < names.size(); ++i) {
        Script script;
        script.facts.uuid = newRecordUuid();
        script.facts.name = "search " + names[i];
        script.facts.startUs = 2'100'000'000'000'000 - static_cast<std::int64_t>(i) * 1'000'003;
        script.facts.durationUs = static_cast<std::int64_t>(i) * 999;
        for (const Place& place : m_places) {
            RR_DONE(record(*place.store, script));
        }
    }
    const auto found = [](Store& store, const std::string& part) {
        std::vector<RecordSummary> list;
        const StoreResult result = store.records(part, list);
        std::vector<std::string> lines;
        for (const RecordSummary& line : list) {
            lines.push_back(toText(line));
        }
        return result ? lines : std::vector<std::string> { result.message };
    };
    const std::pair<const char*, std::size_t> searches[]
        = { { "SEARCH ", 8 }, { "search pump", 3 }, { "äpfel", 1 }, { "search GR", 2 }, { "100 %", 1 }, { "under_", 1 },
              { "search _", 0 }, { "line\nend", 1 }, { "\"NIGHT\"", 1 } };
    for (const auto& [part, count] : searches) {
        const std::vector<std::string> wanted = found(*m_places.front().store, part);
        QCOMPARE(wanted.size(), count);
        for (const Place& place : m_places) {
            QCOMPARE(found(*place.store, part), wanted);
        }
    }
}

void TestBetweenStores::noStoreHadAnythingToComplainOf()
{
    const std::lock_guard guard(m_mutex);
    QVERIFY2(m_messages.empty(), m_messages.empty() ? "" : m_messages.front().c_str());
}

QTEST_GUILESS_MAIN(TestBetweenStores)
#include "tst_recorder_between_stores.moc"
