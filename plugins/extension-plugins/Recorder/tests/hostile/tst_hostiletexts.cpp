// SPDX-License-Identifier: Apache-2.0
#include "replies.h"
#include "stage.h"

/// Replies of the right form with texts that no recorder of good will sends. Each comes after one of good will, so that
/// exactly what the text makes different is seen.
class tst_HostileTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void aDateIsTakenOrInvalid_data();
    void aDateIsTakenOrInvalid();
    void bytesThatAreNoTextArriveAsReplacementCharacters_data();
    void bytesThatAreNoTextArriveAsReplacementCharacters();
    void tenMegabytesOfTextAreJustALongText_data();
    void tenMegabytesOfTextAreJustALongText();
};

// ---- dates ------------------------------------------------------------------------------------------------------

void tst_HostileTexts::aDateIsTakenOrInvalid_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("start"); // as a snapshot has it
    QTest::addColumn<QString>("end");
    const auto invalid
        = [](const char* name, const QString& text) { QTest::addRow("%s", name) << text << "invalid" << "invalid"; };
    invalid("empty", "");
    invalid("a blank", " ");
    invalid("words", "yesterday");
    invalid("the form of a records list", "21/11/2026 10:00:00");
    invalid("a time alone", "10:00:00.000");
    invalid("month 13", "2026-13-01T10:00:00.000");
    invalid("month 0", "2026-00-01T10:00:00.000");
    invalid("30 February", "2026-02-30T10:00:00.000");
    invalid("year 0", "0000-01-01T10:00:00.000");
    invalid("year 10000", "10000-01-01T10:00:00.000");
    invalid("a negative year", "-2026-01-01T10:00:00.000");
    invalid("hour 25", "2026-11-21T25:00:00.000");
    invalid("minute 60", "2026-11-21T10:60:00.000");
    invalid("second 61", "2026-11-21T10:00:61.000");
    invalid("an offset of 99 hours", "2026-11-21T10:00:00.000+99:99");
    invalid("something behind", "2026-11-21T10:00:00.000 or so");
    invalid("digits that are no ASCII", QStringLiteral("\u0662\u0660\u0662\u0666-11-21T10:00:00.000"));
    invalid("ten megabytes of digits", QString(10 * 1024 * 1024, u'2'));
    invalid("a date and ten megabytes of digits", REPLIED_START + QString(10 * 1024 * 1024, u'2') + u'x');
    QTest::newRow("a date alone") << "2026-11-21" << "2026-11-21 00:00:00.000 local" << "2026-11-21 00:00:03.000 local";
    QTest::newRow("of UTC") << "2026-11-21T10:00:00.000Z" << "2026-11-21 10:00:00.000 UTC"
                            << "2026-11-21 10:00:03.000 UTC";
    QTest::newRow("with an offset") << "2026-11-21T10:00:00.000-03:00" << "2026-11-21 10:00:00.000 UTC-03:00"
                                    << "2026-11-21 10:00:03.000 UTC-03:00";
    QTest::newRow("24 o'clock") << "2026-11-21T24:00:00.000" << "2026-11-22 00:00:00.000 local"
                                << "2026-11-22 00:00:03.000 local";
    QTest::newRow("the last of all") << "9999-12-31T23:59:59.999" << "9999-12-31 23:59:59.999 local"
                                     << "10000-01-01 00:00:02.999 local";
}

void tst_HostileTexts::aDateIsTakenOrInvalid()
{
    QFETCH(QString, text);
    QFETCH(QString, start);
    QFETCH(QString, end);
    const QStringList changes = sorted({ change(FILE_RECORD + "startDateTime", "2026-11-21 10:00:00.000 local", start),
        change(FILE_RECORD + "endDateTime", "2026-11-21 10:00:03.000 local", end) });
    const auto check = [&](const char* service, const QVariantList& good, const QVariantList& arguments) {
        Stage stage;
        const MessageLog messages;
        stage.recorder->reply(service, good);
        const Snapshot before = stage.snapshot();
        stage.recorder->reply(service, arguments);
        QCOMPARE(sorted(before.changesTo(stage.snapshot())), changes);
        QCOMPARE(messages.problems(), QStringList());
    };
    check("context", contextOfFile(), contextOfFile({ text }, 1));
    check("loaded", loadedFile(), loadedFile({ text }, 1));
}

// ---- texts ------------------------------------------------------------------------------------------------------

void tst_HostileTexts::bytesThatAreNoTextArriveAsReplacementCharacters_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<int>("position");
    QTest::addColumn<QByteArray>("bytes");
    const std::pair<const char*, QByteArray> byteses[]
        = { { "a wrong byte", "pump\xff/*" }, { "an overlong form", "\xc0\xaf\xe0\x80\xaf" },
              { "half a character", "pump\xe2\x82" }, { "half a surrogate", "\xed\xa0\x80" },
              { "beyond Unicode", "\xf4\x90\x80\x80" }, { "a list of it", "[\"\xff\",\"\xc0\x80\"]" },
              { "a byte order mark", "\xef\xbb\xbf[]" }, { "nothing at all", QByteArray() } };
    for (const Reply& reply : replies()) {
        for (int position = 0; position < reply.arguments.size(); ++position) {
            if (typeOf(reply.arguments.at(position)) == "string") {
                for (const auto& [name, bytes] : byteses) {
                    QTest::addRow("%s, argument %d is %s", qPrintable(reply.service), position + 1, name)
                        << reply.service << position << bytes;
                }
            }
        }
    }
}

void tst_HostileTexts::bytesThatAreNoTextArriveAsReplacementCharacters()
{
    QFETCH(QString, service);
    QFETCH(int, position);
    QFETCH(QByteArray, bytes);
    // Whatever the bytes do, the text that they are read as does the same.
    const auto outcome = [&](const QVariant& value) {
        Stage stage;
        stage.enter("loaded");
        const MessageLog messages;
        const Snapshot before = stage.snapshot();
        QVariantList arguments = replyOf(service).arguments;
        arguments[position] = value;
        QuenaryDouble::callService(service, arguments, stage.instance->uuid() + replyOf(service).tokenSuffix);
        ModuleFixture::settle();
        const QStringList lines = before.changesTo(stage.snapshot()) + messages.problems() + Stage::calls();
        return lines.join(u'\n').replace(stage.instance->encounteredAgentInfo()->uuid(), "(uuid)");
    };
    QCOMPARE(outcome(QVariant::fromValue(QuenaryDouble::RawValue { QNY_STRING_T, bytes })),
        outcome(QString::fromUtf8(bytes)));
}

void tst_HostileTexts::tenMegabytesOfTextAreJustALongText_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<QVariantList>("goodArguments");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QStringList>("changes");
    QTest::addColumn<QStringList>("problems");
    QTest::addColumn<QStringList>("calls");
    const auto row = [](const char* name, const QVariantList& good, const QVariantList& arguments,
                         const QStringList& changes, const QStringList& problems = {}, const QStringList& calls = {}) {
        QTest::addRow("%s", name) << QString(name).section(u',', 0, 0) << good << arguments << sorted(changes)
                                  << problems << calls;
    };
    const QString text(10 * 1024 * 1024, u'x');
    const QString start = "2026-11-21 10:00:00.000 local";
    const QString end = "2026-11-21 10:00:03.000 local";
    const auto file = [](const char* property, const QString& before, const QString& after) {
        return change(FILE_RECORD + property, before, after);
    };
    const QStringList noDate { file("startDateTime", start, "invalid"), file("endDateTime", end, "invalid") };
    const QStringList otherFile { file("name", "/r/f.csv", text), file("uuid", "/r/f.csv", text) };
    const QString agents = "warning: An error occured while parsing the agents list json : \"illegal value\"";
    const QString records = "warning: An error occured while parsing the records list json : \"illegal value\"";
    const auto agent = [&file](const char* property, const QString& before, const QString& after, int index = 0) {
        return file(qPrintable(QStringLiteral("agentsFilters[%1].%2").arg(index).arg(property)), before, after);
    };

    row("context, id", contextOfFile(), contextOfFile({ text }, 0), otherFile);
    row("context, date", contextOfFile(), contextOfFile({ text }, 1), noDate);
    row("context, filter", contextOfFile(), contextOfFile({ text }, 7),
        { agent("checked", "false", "true", 1), file("agentsFilterRecap", "a", "All agents"),
            file("agentsFilterState", "1", "2"), file("lastActiveAgentsFilter", "a", "a,b") },
        { agents });
    row("context, an agent", contextOfFile(), contextOfFile({ "[\"a\",\"" + text + "\"]" }, 6),
        { agent("name", "b", text, 1) });
    row("context, a filter of it", contextOfFile(), contextOfFile({ "[\"b\",\"" + text + "\"]", "[\"a\"]" }, 6),
        { agent("name", "a", "b"), agent("name", "b", text, 1), agent("checked", "true", "false"),
            file("agentsFilterRecap", "a", "No agent selected"), file("agentsFilterState", "1", "0") });
    row("context, recording", { "", "", 0.0, 0.0, 1.0, false, "", "", "" },
        { "", "", 0.0, 0.0, 1.0, false, "", "", text }, { change("Rec[0].isRecording", "false", "true") });
    row("record_uuid", {}, { text }, { change("Rec[0].isRecording", "false", "true") });
    row("record_filters", { true, "x" }, { true, text },
        { change("Rec[0].recordFilters", "x", text), change("document.filters.(uuid)", "x", text) });
    row("loaded, id", loadedFile(), loadedFile({ text }, 0),
        otherFile
            + QStringList { change("Rec[0].currentFilePath", "/r/f.csv", text),
                change("document.file_path.(uuid)", "/r/f.csv", text) });
    row("loaded, date", loadedFile(), loadedFile({ text }, 1), noDate);
    row("loaded, an agent", loadedFile(), loadedFile({ "[\"a\",\"" + text + "\"]" }, 3),
        { agent("name", "b", text, 1), file("lastActiveAgentsFilter", "a,b", "a," + text) });
    row("loaded, no list of agents", loadedFile({ "[]" }, 3), loadedFile({ text }, 3), {}, { agents });
    row("loading_failed, id", { "x", "y" }, { text, "y" }, {});
    row("loading_failed, reason", { "x", "y" }, { "x", text }, { change("Rec[0].loadingFailReason", "y", text) });
    row("receive_export, id", {}, { text, 1, "next", "" }, {}, {},
        { "export(" + text.left(100) + ",1,next,-1,false,false)" });
    row("receive_export, cursor", {}, { RECORD_A, 1, text, "" }, {}, {},
        { "export(" + RECORD_A + ",1," + text.left(100) + ",-1,false,false)" });
    row("receive_export, content", {}, { RECORD_A, 1, "next", text }, {}, {},
        { "export(" + RECORD_A + ",1,next,-1,false,false)" });
    row("receive_export, a row of separators", {}, { RECORD_A, 1, "next", "a;1500000" + QString(text).fill(u';') },
        { change("Rec[0].exportingProgress", "0", "50") }, {}, { "export(" + RECORD_A + ",1,next,-1,false,false)" });
    row("receive_export, line feeds", {}, { RECORD_A, 1, "next", QString(text).fill(u'\n') }, {}, {},
        { "export(" + RECORD_A + ",1,next,-1,false,false)" });
    // Wherever a long text is cut to be written, no character is.
    row("receive_export, characters of four bytes", {},
        { RECORD_A, 1, "next", u'x' + QString::fromUtf8("\U0001f4c8").repeated(1024 * 1024) }, {}, {},
        { "export(" + RECORD_A + ",1,next,-1,false,false)" });
    row("records", { "" }, { text }, {}, { records });
    row("records, a name", { u'[' + recordJson(RECORD_A, "A") + u']' }, { u'[' + recordJson(RECORD_A, text) + u']' },
        { change("Rec[0].records[0].name", "A", text) });
    row("records, an id", { u'[' + recordJson(RECORD_A, "A") + u']' }, { u'[' + recordJson(text, "A") + u']' },
        { change("Rec[0].records[0].uuid", RECORD_A, text) });
    row("records, dates",
        { u'[' + recordJson("x", "A", 3000000, "2026-11-21 10:00:00.000", "2026-11-21 10:00:03.000") + u']' },
        { u'[' + recordJson("y", "A", 3000000, text, text) + u']' },
        { change("Rec[0].records[0].uuid", "x", "y"), change("Rec[0].records[0].startDateTime", start, "invalid"),
            change("Rec[0].records[0].endDateTime", end, "invalid") });
}

void tst_HostileTexts::tenMegabytesOfTextAreJustALongText()
{
    QFETCH(QString, service);
    QFETCH(QVariantList, goodArguments);
    QFETCH(QVariantList, arguments);
    QFETCH(QStringList, changes);
    QFETCH(QStringList, problems);
    QFETCH(QStringList, calls);
    Stage stage;
    stage.enter(service == "receive_export" ? "exporting" : "idle");
    const MessageLog messages;
    const auto reply = [&](const QVariantList& replied) {
        QVERIFY(QuenaryDouble::callService(service, replied, stage.instance->uuid() + replyOf(service).tokenSuffix));
        ModuleFixture::settle();
    };
    if (!goodArguments.isEmpty()) {
        reply(goodArguments);
    }
    const Snapshot before = stage.snapshot();
    reply(arguments);
    const QString key = stage.instance->encounteredAgentInfo()->uuid();
    QCOMPARE(sorted(before.changesTo(stage.snapshot()).replaceInStrings(key, "(uuid)")), changes);
    QCOMPARE(messages.problems(), problems);
    QCOMPARE(Stage::calls(), calls);
    if (service == "receive_export") {
        const QByteArray content = arguments.last().toString().toUtf8() + '\n';
        ModuleFixture::leave(stage.agentUuid);
        QFile file(stage.folder.filePath("out.csv"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll() == content);
    }
}

QTEST_MAIN(tst_HostileTexts)
#include "tst_hostiletexts.moc"
