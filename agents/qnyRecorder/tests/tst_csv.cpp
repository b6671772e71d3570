// SPDX-License-Identifier: Apache-2.0
#include "csv/base64.h"
#include "csv/csv.h"
#include "csv/facts.h"
#include "csv/utf8.h"
#include "datatools.h"

#include <QRegularExpression>

using namespace recorder;
using namespace recorder::csv;
using namespace recorder::testing;

namespace {

// Feeds a text in pieces of the given size (0: whole).
std::vector<Entry> readAll(const std::string& text, Error& error, std::size_t piece = 0, Reader::Options options = {})
{
    std::vector<Entry> entries;
    Reader reader(options);
    Entry entry;
    std::size_t at = 0;
    for (;;) {
        switch (reader.next(entry)) {
        case Reader::Step::Row:
            entries.push_back(entry);
            break;
        case Reader::Step::NeedMore:
            if (at == text.size()) {
                reader.finish();
            } else {
                const std::size_t size = piece == 0 ? text.size() : std::min(piece, text.size() - at);
                reader.feed(std::string_view(text).substr(at, size));
                at += size;
            }
            break;
        case Reader::Step::End:
            return entries;
        case Reader::Step::Failed:
            error = reader.error();
            return entries;
        }
    }
}

std::vector<Event> readEvents(
    const std::string& text, Error& error, std::size_t piece = 0, Reader::Options options = {})
{
    std::vector<Event> events;
    for (const Entry& entry : readAll(text, error, piece, options)) {
        if (const Event* event = std::get_if<Event>(&entry)) {
            events.push_back(*event);
        }
    }
    return events;
}

std::string rowsOf(const std::vector<Event>& events)
{
    std::string rows;
    for (const Event& event : events) {
        appendEvent(rows, event.view());
    }
    return rows;
}

std::vector<Event> awkwardEvents()
{
    std::vector<Event> events;
    std::int64_t timeUs = 0;
    for (const Value& value : awkwardValues()) {
        events.emplace_back(timeUs, "agent", "output", value);
        timeUs += 250'000;
    }
    return events;
}

} // namespace

class TestCsv : public QObject
{
    Q_OBJECT

private slots:
    void aCharacterThatNeedsQuotesIsSeenWhereverItStands()
    {
        // Bytes that differ from such characters by little need none.
        for (const char c : { ';', '"', '\r', '\n', ':', '<', '!', '#', '\f', '\v', '\xBB', '\xA2', '\x8D', '\x8A' }) {
            const bool needsQuotes = std::string_view(";\"\r\n").find(c) != std::string_view::npos;
            for (std::size_t size = 1; size < 40; ++size) {
                for (std::size_t at = 0; at < size; ++at) {
                    std::string text(size, 'a');
                    text[at] = c;
                    std::string row;
                    appendFact(row, "name", text);
                    const bool isQuoted = row.find(";string;\"") != std::string::npos;
                    QVERIFY2(isQuoted == needsQuotes, row.c_str());
                }
            }
        }
    }

    void rowsAreTheDocumentedOnes()
    {
        std::string rows;
        appendFact(rows, "version", 1);
        appendFact(rows, "name", "Test \"1\"; first");
        appendFact(rows, "description", "");
        appendDefinition(rows, 0, "pump", R"({"family":"","outputs":[{"name":"pressure","type":"double"}]})");
        appendInitial(rows, 0, "pump", "pressure", ValueView::fromDouble(1.5));
        std::vector<Event> events = awkwardEvents();
        std::erase_if(events, [](const Event& event) { return event.value.view().bytes.size() > 1000; });
        rows += rowsOf(events);
        QVERIFY(matchesGolden(QStringLiteral("rows-v1.csv"), QByteArray::fromStdString(rows)));
    }

    void whatIsWrittenComesBack()
    {
        const std::vector<Event> events = awkwardEvents();
        Error error;
        RR_SAME_EVENTS(readEvents(rowsOf(events), error), events);
        QCOMPARE(error.reason, std::string());
    }

    void anyCutOfTheTextGivesTheSame()
    {
        std::vector<Event> events = awkwardEvents();
        std::erase_if(events, [](const Event& event) { return event.value.view().bytes.size() > 1000; });
        const std::string rows = rowsOf(events);
        for (std::size_t piece = 1; piece < 40; ++piece) {
            Error error;
            RR_SAME_EVENTS(readEvents(rows, error, piece), events);
            QCOMPARE(error.reason, std::string());
        }
    }

    void randomEventsComeBack()
    {
        std::mt19937_64 random(5);
        for (std::uint64_t seed = 1; seed <= 20; ++seed) {
            const std::vector<Event> events = randomEvents(seed, 400);
            Error error;
            RR_SAME_EVENTS(readEvents(rowsOf(events), error, 1 + random() % 5000), events);
        }
    }

    // Every row's line feed comes twice, line ends inside of quotes once.
    void theImportsDoubledLineEndsAreUnderstood()
    {
        std::vector<Event> events = awkwardEvents();
        std::erase_if(events, [](const Event& event) { return event.value.view().bytes.size() > 1000; });
        std::string doubled;
        for (const Event& event : events) {
            doubled += rowsOf({ event }) + '\n';
        }
        Reader::Options options;
        options.doubledLineEnds = true;
        for (const std::size_t piece : { 0, 1, 2, 3, 7 }) {
            Error error;
            RR_SAME_EVENTS(readEvents(doubled, error, piece, options), events);
        }
        // The line of a mistake is that of the user's file.
        Error error;
        readAll("a;1;output;o;impulse;\n\n"
                "a;2;output;o;impulse;\r\n"
                "\n\n"
                "a;x;output;o;impulse;\n\n",
            error, 0, options);
        QCOMPARE(error.line, 4U);
    }

    void otherLineEndsMarksAndEmptyLinesAreAccepted()
    {
        const std::vector<Event> wanted = { Event(1, "a", "o", ValueView::fromString("x\r\ny")),
            Event(2, "a", "o", ValueView::fromInteger(3)), Event(3, "a", "o", ValueView::impulse()) };
        const std::string text = "\xEF\xBB\xBF\r\na;1;output;o;string;\"x\r\ny\"\r\n\r\n\n\"a\";2;output;o;integer;3;"
                                 "more;\"co;lumns\"\ra;3;output;o;impulse;";
        for (std::size_t piece = 0; piece < 12; ++piece) {
            Error error;
            RR_SAME_EVENTS(readEvents(text, error, piece), wanted);
            QCOMPARE(error.reason, std::string());
        }
    }

    void factsDefinitionsAndInitialValuesAreTold()
    {
        Error error;
        const std::vector<Entry> entries = readAll(
            ";0;record;name;string;\"a;b\"\npump;0;agent;;string;\"{}\"\npump;0;initial;level;integer;5\n", error);
        QCOMPARE(error.reason, std::string());
        QCOMPARE(entries.size(), std::size_t(3));
        QCOMPARE(std::get<Fact>(entries[0]).name, std::string("name"));
        QCOMPARE(std::get<Fact>(entries[0]).value, std::string("a;b"));
        QVERIFY((std::get<AgentDefinition>(entries[1]) == AgentDefinition { "pump", "{}" }));
        QVERIFY((std::get<OutputValue>(entries[2]) == OutputValue { "pump", "level", ValueView::fromInteger(5) }));
    }

    void whatCannotBeReadIsRefusedWithItsPlace_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("message");
        const QByteArray good = "a;1;output;o;impulse;\n";
        const auto row = [&](const char* name, const QByteArray& text, const char* message) {
            QTest::newRow(name) << good + text << QString::fromUtf8(message);
        };
        row("too few columns", "a;1;output;o;impulse", "line 2: only 5 of the six columns");
        row("no time", "a;x;output;o;impulse;", "line 2, column 2 \\(time_us\\): \"x\" is not a whole number");
        row("a broken time", "a;1.5;output;o;impulse;", "line 2, column 2 .*whole number");
        row("a time before the start", "a;-1;output;o;impulse;", "line 2, column 2 .*before the start");
        row("a time too large", "a;9223372036854775808;output;o;impulse;", "line 2, column 2 .*too large");
        row("another kind", "a;1;input;o;impulse;", "line 2, column 3 \\(kind\\): \"input\" is none of");
        row("no agent", ";1;output;o;impulse;", "line 2, column 1 \\(agent\\): .*missing");
        row("no output", "a;1;output;;impulse;", "line 2, column 4 \\(name\\): .*missing");
        row("a line end in a name", "\"a\nb\";1;output;o;impulse;", "line 2, column 1 .*control");
        row("another type", "a;1;output;o;float;1", "line 2, column 5 \\(type\\): \"float\" is none of");
        row("an impulse with a value", "a;1;output;o;impulse;1", "line 2, column 6 \\(value\\): .*no value");
        row("a bool", "a;1;output;o;bool;yes", "line 2, column 6 .*neither true nor false");
        row("an integer", "a;1;output;o;integer;1x", "line 2, column 6 .*32 bits");
        row("an integer too large", "a;1;output;o;integer;2147483648", "line 2, column 6 .*32 bits");
        row("no integer", "a;1;output;o;integer;", "line 2, column 6 .*32 bits");
        row("a double", "a;1;output;o;double;1,5", "line 2, column 6 .*double");
        row("a double too large", "a;1;output;o;double;1e999", "line 2, column 6 .*double");
        row("data", "a;1;output;o;data;abc", "line 2, column 6 .*base64");
        row("data with left-over bits", "a;1;output;o;data;YR==", "line 2, column 6 .*base64");
        row("Latin-1",
            "a;1;output;o;string;gr\xFC\xDF"
            "e",
            "line 2, column 6 .*UTF-8");
        row("an agent in Latin-1", "\xFC;1;output;o;impulse;", "line 2, column 1 .*UTF-8");
        row("a quote inside", "a;1;output;o;string;x\"y\"", "line 2, column 6 .*quote inside");
        row("after a quote", "a;1;output;o;string;\"x\"y", "line 2, column 6 .*semicolon");
        row("an open quote", "a;1;output;o;string;\"x\n\n\n", "line 2, column 6 .*never ends");
        row("a newer version", ";0;record;version;integer;2", "line 2, column 6 .*version 2.*newer recorder");
        row("a later line", "\n\na;1;output;o;string;\"x\ny\"\na;1;x;o;impulse;", "line 6, column 3");
        row("something else", "{\"json\": true}", "line 2, column 1 .*quote inside");
    }

    void whatCannotBeReadIsRefusedWithItsPlace()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, message);
        for (const std::size_t piece : { 0, 1, 5 }) {
            Error error;
            const std::vector<Entry> entries = readAll(text.toStdString(), error, piece);
            QVERIFY(!entries.empty()); // what came before was read
            const QString got = QString::fromStdString(error.text());
            QVERIFY2(QRegularExpression(message, QRegularExpression::DotMatchesEverythingOption).match(got).hasMatch(),
                qPrintable(got));
        }
    }

    void aLostQuoteDoesNotEatMemory()
    {
        Reader::Options options;
        options.mostRowBytes = 1024 * 1024;
        Reader reader(options);
        Entry entry;
        reader.feed("a;1;output;o;string;\"");
        std::size_t fed = 0;
        while (reader.next(entry) == Reader::Step::NeedMore && fed < 16 * 1024 * 1024) {
            const std::string more(100'000, ';');
            reader.feed(more);
            fed += more.size();
        }
        QVERIFY2(fed <= 3 * 1024 * 1024, std::to_string(fed).c_str());
        QVERIFY(reader.error().text().find("longer than 1 MiB") != std::string::npos);
    }

    void aZeroByteStandsInNoText()
    {
        using namespace std::string_literals;
        for (const std::string& row :
            { "a;1;output;o;string;x\0y\n"s, "a;0;initial;o;string;\0\n"s, "a;0;agent;;string;{}\0\n"s,
                ";0;record;name;string;x\0\n"s, ";0;record;na\0me;string;x\n"s, "a\0;1;output;o;integer;1\n"s }) {
            Reader reader;
            reader.feed(row);
            reader.finish();
            Entry entry;
            QVERIFY2(reader.next(entry) == Reader::Step::Failed, row.c_str());
            QVERIFY(reader.error().isRowWhole);
        }
    }

    void refusalsAreShortWhateverStandsThere()
    {
        const std::string longText(1'000'000, 'x');
        for (const Fact& fact :
            { Fact { "start_date", longText }, Fact { "duration_us", longText }, Fact { "start_date", "a\nb\x1b[31m" },
                Fact { "completeness",
                    "{\"outputs\":[{\"agent\":\"" + longText + "\"},{\"agent\":\"" + longText + "\"}]}" } }) {
            RecordFacts facts;
            bool changed = false;
            std::string reason;
            QVERIFY(!takeFact(fact, facts, changed, reason));
            QVERIFY2(reason.size() < 200, reason.substr(0, 300).c_str());
            QVERIFY(std::none_of(reason.begin(), reason.end(), [](char c) { return c >= 0 && c < ' '; }));
        }
    }

    void shortestDoublesReadBackTheSame()
    {
        std::mt19937_64 random(3);
        for (int round = 0; round < 20000; ++round) {
            const double number = std::bit_cast<double>(random());
            const Event event(0, "a", "o", ValueView::fromDouble(number));
            Error error;
            RR_SAME_EVENTS(readEvents(rowsOf({ event }), error), std::vector<Event> { event });
        }
        QCOMPARE(rowsOf({ Event(0, "a", "o", ValueView::fromDouble(0.1)) }), std::string("a;0;output;o;double;0.1\n"));
    }

    void base64IsTheUsualOne()
    {
        const std::pair<const char*, const char*> published[] = { { "", "" }, { "f", "Zg==" }, { "fo", "Zm8=" },
            { "foo", "Zm9v" }, { "foob", "Zm9vYg==" }, { "fooba", "Zm9vYmE=" }, { "foobar", "Zm9vYmFy" } };
        for (const auto& [plain, coded] : published) {
            std::string out;
            appendBase64(out, plain);
            QCOMPARE(out, std::string(coded));
            std::string back;
            QVERIFY(fromBase64(coded, back));
            QCOMPARE(back, std::string(plain));
        }
        std::string back;
        for (const char* bad : { "A", "AA", "AAA", "A===", "====", "AA=A", "AAAA====", "AAA\n", "Zh==", "Zm9=" }) {
            QVERIFY2(!fromBase64(bad, back), bad);
        }
    }

    void utf8IsChecked()
    {
        for (const char* good :
            { "", "plain ascii text", "ü", "€", "\xED\x9F\xBF", "\xEE\x80\x80", "\xF0\x90\x80\x80", "12345678ü" }) {
            QVERIFY2(isUtf8(good), good);
        }
        for (const char* bad : { "\x80", "\xC0\x80", "\xC1\xBF", "\xC3", "\xE0\x80\x80", "\xED\xA0\x80",
                 "\xF0\x80\x80\x80", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "1234567\xC3", "\xE2\x82" }) {
            QVERIFY2(!isUtf8(bad), bad);
        }
    }
};

QTEST_GUILESS_MAIN(TestCsv)
#include "tst_csv.moc"
