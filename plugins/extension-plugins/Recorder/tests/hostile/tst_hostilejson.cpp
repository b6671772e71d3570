// SPDX-License-Identifier: Apache-2.0
#include "replies.h"
#include "stage.h"

#include <QtCore/QJsonDocument>

namespace {

const QString RECORD_C = QStringLiteral("cccccccc-0000-4000-8000-000000000003");
const QString A = QStringLiteral("%1|A|2026-11-21 10:00:00.000 local|2026-11-21 10:00:03.000 local|3").arg(RECORD_A);
const QString B = QStringLiteral("%1|B|2026-11-21 10:00:00.000 local|2026-11-21 10:00:03.000 local|3").arg(RECORD_B);

/// What is wrong with a text, in the words of Qt's parser.
QString parseError(const QString& json)
{
    QJsonParseError error;
    QJsonDocument::fromJson(json.toUtf8(), &error);
    return logged(error.error == QJsonParseError::NoError ? QStringLiteral("nothing is wrong") : error.errorString());
}

/// Texts that are no JSON document.
QList<std::pair<const char*, QString>> brokenJson()
{
    constexpr int DEEP = 10000;
    constexpr int LONG = 10 * 1024 * 1024;
    return {
        { "null", "null" },
        { "a number", "42" },
        { "a text", "\"text\"" },
        { "a bool", "true" },
        { "a blank", " " },
        { "no JSON", "records" },
        { "an open array", "[" },
        { "an open object", "[{" },
        { "an open text", "[\"a" },
        { "closed by another", "[}" },
        { "a comma too many", "[\"a\",]" },
        { "two arrays", "[][]" },
        { "something behind", "[] x" },
        { "single quotes", "['a']" },
        { "a comment", "[/* */]" },
        { "no number", "[NaN]" },
        { "a number in hexadecimal", "[0x10]" },
        { "a number beyond all numbers", "[1e400]" },
        { "a cut escape", "[\"\\u12\"]" },
        { "arrays 10,000 deep", QString(DEEP, u'[') + QString(DEEP, u']') },
        { "open arrays 10,000 deep", QString(DEEP, u'[') },
        { "objects 10,000 deep", QLatin1StringView("[") + QString("{\"uuid\":").repeated(DEEP) },
        { "ten megabytes of opening brackets", QString(LONG, u'[') },
        { "ten megabytes of blanks", QString(LONG, u' ') },
        { "ten megabytes of an open text", QLatin1StringView("[\"") + QString(LONG, u'x') },
    };
}

/// The records that are listed, one text each: "uuid|name|start|end|duration".
QStringList recordsOf(const Snapshot& snapshot)
{
    QStringList texts;
    for (int row = 0; row < snapshot.rows("Rec[0].records"); ++row) {
        QStringList values;
        for (const char* property : { "uuid", "name", "startDateTime", "endDateTime", "durationInSeconds" }) {
            values.append(snapshot.value(QStringLiteral("Rec[0].records[%1].%2").arg(row).arg(property)));
        }
        texts.append(values.join(u'|'));
    }
    return texts;
}

/// The agents of a record, one text each: "name" or "name (unchecked)".
QStringList agentsOf(const Snapshot& snapshot, const QString& record)
{
    QStringList texts;
    for (int row = 0; row < snapshot.rows(record + ".agentsFilters"); ++row) {
        const QString agent = QStringLiteral("%1.agentsFilters[%2]").arg(record).arg(row);
        texts.append(snapshot.value(agent + ".name") + (snapshot.isTrue(agent + ".checked") ? "" : " (unchecked)"));
    }
    return texts;
}

/// A record of three seconds, with some keys as they are given here; a null value leaves the key out.
QString record(const QMap<QString, QString>& changed, const QString& uuid = RECORD_C)
{
    QMap<QString, QString> members { { "uuid", u'"' + uuid + u'"' }, { "name", "\"C\"" },
        { "start_date", "\"2026-11-21 10:00:00.000\"" }, { "end_date", "\"2026-11-21 10:00:03.000\"" },
        { "duration_us", "3000000" } };
    members.insert(changed);
    QStringList texts;
    for (auto member = members.cbegin(); member != members.cend(); ++member) {
        if (!member.value().isNull()) {
            texts.append(QStringLiteral("\"%1\":%2").arg(member.key(), member.value()));
        }
    }
    return u'{' + texts.join(u',') + u'}';
}

} // namespace

/// Lists of records and of agents of every wrong shape, read while A is loaded and plays.
class tst_HostileJson : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aBrokenListOfRecordsEmptiesTheList_data();
    void aBrokenListOfRecordsEmptiesTheList();
    void recordsAreReadForWhatTheyAre_data();
    void recordsAreReadForWhatTheyAre();
    void aBrokenListOfAgentsIsNone_data();
    void aBrokenListOfAgentsIsNone();
    void agentsAreReadForWhatTheyAre_data();
    void agentsAreReadForWhatTheyAre();
    void agentsByTheTenThousandAreReadToo();
};

// ---- records ----------------------------------------------------------------------------------------------------

void tst_HostileJson::aBrokenListOfRecordsEmptiesTheList_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QStringList>("problems");
    const QString noArray = "warning: Invalid JSON: JSON must define an array of records";
    for (const auto& [name, text] : brokenJson()) {
        QTest::addRow("%s", name) << text
                                  << QStringList { "warning: An error occured while parsing the records list json : "
                                         + parseError(text) };
    }
    QTest::newRow("an object") << "{}" << QStringList { noArray };
    QTest::newRow("the list in an object") << "{\"records\":" + recordsAandB() + "}" << QStringList { noArray };
    QTest::newRow("one record") << record({}, RECORD_A) << QStringList { noArray };
    for (const char* json : { "[]", "\ufeff[]", "[null]", "[1]", "[1e308]", "[\"a\"]", "[true]", "[[]]", "[{}]",
             "[null,1,\"a\",true,[],{}]", "[{\"\":\"\"}]", "[\"\\x\"]" }) {
        QTest::addRow("%s", json) << QString::fromUtf8(json) << QStringList();
    }
    QTest::newRow("records one level too deep") << u'[' + recordsAandB() + u']' << QStringList();
    QTest::newRow("arrays 1,000 deep") << QString(1000, u'[') + QString(1000, u']') << QStringList();
}

void tst_HostileJson::aBrokenListOfRecordsEmptiesTheList()
{
    QFETCH(QString, json);
    QFETCH(QStringList, problems);
    Stage stage;
    stage.enter("replaying");
    Snapshot expected = stage.snapshot();
    expected.removeUnder("Rec[0].records[");
    expected.set("Rec[0].records", "0 rows");
    expected.set("Rec[0].currentRecord", "null");
    expected.set("Rec[0].isReplaying", "false");
    expected.set("Rec[0].children", "");

    MessageLog messages;
    stage.recorder->records(json);
    QCOMPARE(messages.problems(), problems);
    QCOMPARE(expected.changesTo(stage.snapshot()), QStringList());
    QCOMPARE(Stage::calls(), QStringList());

    // And nothing of it is left: the next list is taken as the first was.
    messages.clear();
    stage.recorder->records(recordsAandB());
    QCOMPARE(recordsOf(stage.snapshot()), QStringList({ A, B }));
    QCOMPARE(messages.problems(), QStringList());
}

void tst_HostileJson::recordsAreReadForWhatTheyAre_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QStringList>("records");
    const auto row = [](const QString& name, const QString& elements, const QStringList& records) {
        QTest::addRow("%s", qPrintable(name)) << u'[' + elements + u']' << records;
    };
    // Beside A and B, which stay as they are.
    const QString known = recordsAandB().sliced(1).chopped(1);
    const auto beside = [&](const QString& name, const QString& element, const QString& third = QString()) {
        row(name, known + u',' + element, third.isNull() ? QStringList { A, B } : QStringList { A, B, third });
    };
    const QString start = "2026-11-21 10:00:00.000 local";
    const QString end = "2026-11-21 10:00:03.000 local";
    const auto c = [&](const QString& name, const QString& from, const QString& to, const QString& seconds) {
        return QStringList { RECORD_C, name, from, to, seconds }.join(u'|');
    };

    row("other things between them", "1," + known + ",null,\"x\",[],{},true", { A, B });
    beside("a good one", record({}), c("C", start, end, "3"));
    beside(
        "more keys than are known", record({ { "__proto__", "{}" }, { "isLoaded", "true" } }), c("C", start, end, "3"));

    // Each key missing, and of each wrong type.
    const std::pair<const char*, QString> wrongs[]
        = { { "missing", QString() }, { "null", "null" }, { "a bool", "true" }, { "an array", "[\"x\"]" },
              { "an object", "{\"x\":1}" }, { "a number", "5" }, { "a text", "\"5\"" }, { "an empty text", "\"\"" } };
    for (const auto& [name, wrong] : wrongs) {
        const bool isText = wrong.startsWith(u'"');
        if (!isText || wrong == "\"\"") {
            beside(QStringLiteral("uuid is %1").arg(name), record({ { "uuid", wrong } }));
        }
        if (!isText || wrong == "\"\"") {
            beside(QStringLiteral("name is %1").arg(name), record({ { "name", wrong } }), c("", start, end, "3"));
        }
        beside(QStringLiteral("start_date is %1").arg(name), record({ { "start_date", wrong } }),
            c("C", "invalid", end, "3"));
        beside(QStringLiteral("end_date is %1").arg(name), record({ { "end_date", wrong } }),
            c("C", start, "invalid", "3"));
        if (wrong != "5") {
            beside(QStringLiteral("duration_us is %1").arg(name), record({ { "duration_us", wrong } }),
                c("C", start, end, "0"));
        }
    }

    const std::pair<const char*, const char*> durations[] = { { "9223372036854775807", "9223372036854.775" },
        { "-9223372036854775808", "-9223372036854.775" }, { "9223372036854775808", "0" }, { "1e300", "0" },
        { "-1e300", "0" }, { "1.5", "0" }, { "3e6", "3" }, { "-1", "-1e-06" }, { "-0", "0" }, { "0", "0" } };
    for (const auto& [json, seconds] : durations) {
        beside(QStringLiteral("duration_us is %1").arg(json), record({ { "duration_us", json } }),
            c("C", start, end, seconds));
    }

    for (const char* wrong : { "yesterday", "2026-11-21", "2026-11-21T10:00:00.000", "2026-11-21 10:00:00",
             "2026-11-21 25:00:00.000", "2026-11-21 10:60:00.000", "2026-02-30 10:00:00.000", "2026-13-01 10:00:00.000",
             "0000-01-01 10:00:00.000", "10000-01-01 10:00:00.000", "2026-11-21 10:00:00.000Z",
             "2026-11-21 10:00:00.000 or so", "21.11.2026 10:00:00.000", "2026-11-21\\u000010:00:00.000" }) {
        const QString json = u'"' + QLatin1StringView(wrong) + u'"';
        beside(QStringLiteral("both dates are %1").arg(wrong), record({ { "start_date", json }, { "end_date", json } }),
            c("C", "invalid", "invalid", "3"));
    }
    beside("blanks around a date", record({ { "start_date", "\" \\t2026-11-21 10:00:00.000\\n\"" } }),
        c("C", start, end, "3"));
    beside("an end before the start", record({ { "end_date", "\"1999-12-31 23:59:59.999\"" } }),
        c("C", start, "1999-12-31 23:59:59.999 local", "3"));

    // Identities.
    row("C twice", known + u',' + record({}) + u',' + record({ { "name", "\"again\"" } }),
        { A, B, c("again", start, end, "3") });
    row("A twice", known + u',' + record({ { "name", "\"A\"" } }, RECORD_A), { A, B });
    row("A once more, as another", known + u',' + record({ { "name", "\"D\"" } }, RECORD_A),
        { QString(A).replace("|A|", "|D|"), B });
    beside("a key twice", record({ { "name", "\"first\",\"name\":\"second\"" } }), c("second", start, end, "3"));
    const std::pair<const char*, QString> identities[]
        = { { "no uuid", "no uuid" }, { " ", " " }, { "/r/file.csv", "/r/file.csv" }, { "\\n", "\n" }, { "<b>", "<b>" },
              { "\\ud800", QString(QChar(0xd800)) }, { "\\u0000", QString(QChar(0)) }, { "null", "null" } };
    for (const auto& [json, uuid] : identities) {
        beside(QStringLiteral("uuid is \"%1\"").arg(json), record({}, json),
            uuid + c("C", start, end, "3").sliced(RECORD_C.size()));
    }

    // What is known already keeps its start, and loses what is wrong now.
    row("A with nothing but its uuid",
        record({ { "name", {} }, { "start_date", {} }, { "end_date", {} }, { "duration_us", {} } }, RECORD_A),
        { QStringList { RECORD_A, "", start, "invalid", "0" }.join(u'|') });
    row("A with another start",
        record({ { "name", "\"A\"" }, { "start_date", "\"1999-12-31 23:59:59.999\"" } }, RECORD_A), { A });
}

void tst_HostileJson::recordsAreReadForWhatTheyAre()
{
    QFETCH(QString, json);
    QFETCH(QStringList, records);
    Stage stage;
    stage.enter("replaying");
    const Snapshot before = stage.snapshot();
    const MessageLog messages;
    stage.recorder->records(json);
    const Snapshot after = stage.snapshot();
    QCOMPARE(recordsOf(after), records);
    QCOMPARE(messages.problems(), QStringList());
    QCOMPARE(Stage::calls(), QStringList());
    // Nothing but records is different, and the replay of A goes on.
    QStringList others = before.changesTo(after);
    others.removeIf([](const QString& change) {
        return change.startsWith("Rec[0].records") || change.startsWith("Rec[0].children");
    });
    QCOMPARE(others, QStringList());
    for (const char* kept : { "isLoaded", "isReplaying", "replayProgressInSecond", "agentsFilters", "speed" }) {
        const QString path = QStringLiteral("Rec[0].records[0].%1").arg(kept);
        QCOMPARE(after.value(path), before.value(path));
    }
    QVERIFY(stage.instance->isRecordNameAlreadyUsed(stage.recordA()->name()));
}

// ---- agents -----------------------------------------------------------------------------------------------------

void tst_HostileJson::aBrokenListOfAgentsIsNone_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QStringList>("problems");
    for (const auto& [name, text] : brokenJson()) {
        QTest::addRow("%s", name) << text
                                  << QStringList { "warning: An error occured while parsing the agents list json : "
                                         + parseError(text) };
    }
    QTest::newRow("an object") << "{}" << QStringList { "warning: Invalid JSON: JSON must define an array of agents" };
    QTest::newRow("empty") << "" << QStringList();
    QTest::newRow("an empty list") << "[]" << QStringList();
}

void tst_HostileJson::aBrokenListOfAgentsIsNone()
{
    QFETCH(QString, json);
    QFETCH(QStringList, problems);
    Stage stage;
    MessageLog messages;
    const QString record = "Rec[0].records[0]";
    const auto context = [&](const QString& all, const QString& active) {
        messages.clear();
        stage.recorder->reply("context", { RECORD_A, "", 3.0, 1.0, 1.0, false, all, active, "" });
    };
    context("[\"a\",\"b\"]", json);
    QCOMPARE(messages.problems(), problems);
    QCOMPARE(agentsOf(stage.snapshot(), record), QStringList({ "a", "b" })); // no filter lets all through

    context(json, "[\"a\"]");
    QCOMPARE(messages.problems(), problems);
    QCOMPARE(agentsOf(stage.snapshot(), record), QStringList());
    QCOMPARE(stage.recordA()->agentsFilterRecap(), "No agent on record");

    context("[\"a\",\"b\"]", "[\"a\"]");
    messages.clear();
    stage.recorder->loaded(RECORD_A, 3.0, json);
    QCOMPARE(messages.problems(), problems);
    QCOMPARE(agentsOf(stage.snapshot(), record), QStringList());
    QCOMPARE(stage.recordA()->lastActiveAgentsFilter(), QStringList());
    QVERIFY(stage.recordA()->isLoaded());
}

void tst_HostileJson::agentsAreReadForWhatTheyAre_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QStringList>("agents");
    const auto row = [](const char* name, const QString& json, const QStringList& agents) {
        QTest::addRow("%s", name) << json << agents;
    };
    row("sorted without regard to case", "[\"b\",\"C\",\"a\"]", { "a", "b", "C" });
    row("the same twice", "[\"a\",\"A\",\"a\"]", { "a", "A", "a" });
    row("numbers and bools as text", "[1.5,2,true,\"x\",1e300]", { "1.5", "1e+300", "2", "true", "x" });
    row("what is no text at all", "[null,{},{\"a\":\"b\"},\"x\"]", { "", "", "", "x" });
    row("an empty name", "[\"\",\"x\"]", { "", "x" });
    row("names of no agent", "[\"/\\\\*?#\\\"\",\"<b>x</b>\",\"\\u202ex\"]",
        { "/\\*?#\"", "<b>x</b>", QStringLiteral("\u202ex") });
    row("a zero byte and half a character", "[\"\\u0000\",\"\\ud800\"]", { QString(QChar(0)), QString(QChar(0xd800)) });
}

void tst_HostileJson::agentsAreReadForWhatTheyAre()
{
    QFETCH(QString, json);
    QFETCH(QStringList, agents);
    Stage stage;
    const MessageLog messages;
    const QString record = "Rec[0].records[0]";
    stage.recorder->loaded(RECORD_A, 3.0, json);
    QCOMPARE(agentsOf(stage.snapshot(), record), agents);
    QCOMPARE(stage.recordA()->lastActiveAgentsFilter(), agents);
    stage.recorder->reply("context", { RECORD_A, "", 3.0, 1.0, 1.0, false, json, json, "" });
    QCOMPARE(agentsOf(stage.snapshot(), record), agents);
    stage.recorder->reply("context", { RECORD_A, "", 3.0, 1.0, 1.0, false, json, "[\"nobody\"]", "" });
    for (QString& agent : agents) {
        agent += " (unchecked)";
    }
    QCOMPARE(agentsOf(stage.snapshot(), record), agents);
    QCOMPARE(messages.problems(), QStringList());
    QCOMPARE(Stage::calls(), QStringList());
}

void tst_HostileJson::agentsByTheTenThousandAreReadToo()
{
    constexpr int COUNT = 50000;
    QStringList names;
    for (int i = 0; i < COUNT; ++i) {
        names.append(QStringLiteral("\"%1\"").arg(i));
    }
    const QString json = u'[' + names.join(u',') + u']';
    Stage stage;
    const MessageLog messages;
    stage.recorder->loaded(RECORD_A, 3.0, json);
    QCOMPARE(stage.recordA()->agentsFilters()->count(), COUNT);
    QCOMPARE(stage.recordA()->agentsFilterRecap(), "All agents");
    // Each of them is unchecked, one after another.
    const auto context = [&](const QString& filter) {
        stage.recorder->reply("context", { RECORD_A, "", 3.0, 1.0, 1.0, false, json, filter, "" });
    };
    context("[\"nobody\"]");
    QCOMPARE(stage.recordA()->agentsFilterState(), Qt::Unchecked);
    QCOMPARE(stage.recordA()->agentsFilterRecap(), "No agent selected");
    context("[\"7\"]");
    QCOMPARE(stage.recordA()->agentsFilterState(), Qt::PartiallyChecked);
    QCOMPARE(stage.recordA()->agentsFilterRecap(), "7");
    context("[\"7\",\"8\"]");
    QCOMPARE(stage.recordA()->agentsFilterRecap(), "2 agents");
    QCOMPARE(messages.problems(), QStringList());
}

QTEST_MAIN(tst_HostileJson)
#include "tst_hostilejson.moc"
