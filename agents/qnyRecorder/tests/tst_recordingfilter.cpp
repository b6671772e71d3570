// SPDX-License-Identifier: Apache-2.0
#include "filters/recordingfilter.h"

#include <QTest>

using namespace recorder;

class TestRecordingFilter : public QObject
{
    Q_OBJECT

private slots:
    void theLastRuleThatMatchesDecides_data()
    {
        QTest::addColumn<QString>("rules");
        QTest::addColumn<QString>("agent");
        QTest::addColumn<QString>("output");
        QTest::addColumn<bool>("isRecorded");
        const auto row
            = [](const char* name, const char* rules, const char* agent, const char* output, bool isRecorded) {
                  QTest::newRow(name) << QString::fromUtf8(rules) << QString::fromUtf8(agent)
                                      << QString::fromUtf8(output) << isRecorded;
              };
        row("no rule", "", "pump", "level", true);
        row("comments only", "# nothing\n   \n\t# more", "pump", "level", true);
        row("included", "pump", "pump", "level", true);
        row("not included", "pump", "tank", "level", false);
        row("excluded", "-pump", "pump", "level", false);
        row("not excluded", "-pump", "tank", "level", true);
        row("included output", "pump/level", "pump", "level", true);
        row("other output", "pump/level", "pump", "flow", false);
        row("all but one", "-pump/level", "pump", "flow", true);
        row("later exclusion wins", "pump\n-pump/level", "pump", "level", false);
        row("later inclusion wins", "-pump\npump/level", "pump", "level", true);
        row("later inclusion leaves the rest", "-pump\npump/level", "pump", "flow", false);
        row("an inclusion shuts out strangers", "-pump\npump/level", "tank", "level", false);
        row("star", "p*p", "pump", "level", true);
        row("star takes nothing too", "pump*", "pump", "level", true);
        row("star and no match", "p*x", "pump", "level", false);
        row("two stars", "*um*/l*l", "pump", "level", true);
        row("question mark", "pum?", "pump", "level", true);
        row("question mark takes one character", "gr?n", "grün", "level", true);
        row("question mark takes one character of four bytes", "?", "🚀", "level", true);
        row("question mark takes no two", "pu?", "pump", "level", false);
        row("case differs", "Pump", "pump", "level", false);
        row("blanks around", "  pump / level  # this one\r\n", "pump", "level", true);
        row("blank after the minus", "- pump", "pump", "level", false);
        row("blank in a name", "the pump", "the pump", "level", true);
        row("brackets are plain", "a[b]", "a[b]", "level", true);
        row("byte-order mark", "\xEF\xBB\xBFpump", "pump", "level", true);
        row("everything excluded", "-*", "pump", "level", false);
        row("everything excluded but", "-*\npump", "pump", "level", true);
        row("every output of any", "*/level", "tank", "level", true);
        row("minus inside a name", "a-b", "a-b", "level", true);
    }

    void theLastRuleThatMatchesDecides()
    {
        QFETCH(QString, rules);
        QFETCH(QString, agent);
        QFETCH(QString, output);
        QFETCH(bool, isRecorded);
        RecordingFilter filter;
        std::string reason;
        QVERIFY2(RecordingFilter::parse(rules.toStdString(), filter, reason), reason.c_str());
        QCOMPARE(filter.lets(agent.toStdString(), output.toStdString()), isRecorded);
        QCOMPARE(filter.lets(agent.toStdString(), output.toStdString()), isRecorded); // from memory
        if (isRecorded) {
            QVERIFY(filter.letsSomeOf(agent.toStdString()));
        }
    }

    void anAgentOfWhichNothingCanBeRecordedIsKnown()
    {
        RecordingFilter filter;
        std::string reason;
        QVERIFY(RecordingFilter::parse("-pump\ntank/level\n-valve/*", filter, reason));
        QVERIFY(!filter.letsSomeOf("pump"));
        QVERIFY(filter.letsSomeOf("tank"));
        QVERIFY(!filter.letsSomeOf("valve"));
        QVERIFY(!filter.letsSomeOf("other"));
        QVERIFY(RecordingFilter::parse("-valve/open", filter, reason));
        QVERIFY(filter.letsSomeOf("valve"));
        QVERIFY(filter.letsSomeOf("other"));
    }

    void aTextThatDoesNotParseChangesNothing_data()
    {
        QTest::addColumn<QString>("rules");
        QTest::addColumn<QString>("reason");
        QTest::newRow("minus alone") << "pump\n-" << "line 2: \"-\" must be followed";
        QTest::newRow("minus twice") << "--pump" << "line 1: one \"-\" is enough";
        QTest::newRow("no agent") << "/level" << "line 1: no agent before";
        QTest::newRow("no output") << "# x\n\npump/" << "line 3: no output after";
        QTest::newRow("no output before a comment") << "pump/ # all" << "line 1: no output after";
        QTest::newRow("two slashes") << "a/b/c" << "line 1: more than one";
        QTest::newRow("quote") << "\"pump\"" << "line 1: the agent holds the character \"";
        QTest::newRow("backslash") << "pump/a\\b" << "line 1: the output holds the character \\";
        QTest::newRow("control character")
            << QString::fromUtf8("pu\x01mp") << "line 1: the agent holds a control character";
    }

    void aTextThatDoesNotParseChangesNothing()
    {
        QFETCH(QString, rules);
        QFETCH(QString, reason);
        RecordingFilter filter;
        std::string message;
        QVERIFY(RecordingFilter::parse("pump", filter, message));
        QVERIFY(!RecordingFilter::parse(rules.toStdString(), filter, message));
        QVERIFY2(QString::fromStdString(message).startsWith(reason), message.c_str());
        QVERIFY(filter.lets("pump", "level"));
        QVERIFY(!filter.lets("tank", "level"));
    }

    void hostilePatternsAreQuick()
    {
        std::string pattern;
        for (int i = 0; i < 60; ++i) {
            pattern += "*a";
        }
        RecordingFilter filter;
        std::string reason;
        QVERIFY(RecordingFilter::parse(pattern + "b", filter, reason));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!filter.lets(std::string(20'000, 'a'), "o"));
        QVERIFY2(timer.elapsed() < 5000, std::to_string(timer.elapsed()).c_str());
    }

    void answersStayRightWhenNamesNeverEnd()
    {
        RecordingFilter filter;
        std::string reason;
        QVERIFY(RecordingFilter::parse("-*7/o", filter, reason));
        for (int i = 0; i < 250'000; ++i) {
            const std::string agent = std::to_string(i);
            QCOMPARE(filter.lets(agent, "o"), i % 10 != 7);
        }
    }
};

QTEST_GUILESS_MAIN(TestRecordingFilter)
#include "tst_recordingfilter.moc"
