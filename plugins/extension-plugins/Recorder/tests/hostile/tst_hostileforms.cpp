// SPDX-License-Identifier: Apache-2.0
#include "replies.h"
#include "signallog.h"
#include "stage.h"

#include <memory>

/// Replies of every wrong form: each is answered with its one warning and changes nothing that can be seen.
class tst_HostileForms : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanupTestCase();

    void aWrongNumberOfArgumentsIsWarnedOfAndDropped_data();
    void aWrongNumberOfArgumentsIsWarnedOfAndDropped();
    void anArgumentOfAWrongTypeIsWarnedOfAndDropped_data();
    void anArgumentOfAWrongTypeIsWarnedOfAndDropped();
    void theFirstWrongArgumentIsTheOneThatIsNamed_data();
    void theFirstWrongArgumentIsTheOneThatIsNamed();
    void aTokenOfAnInstanceThatIsNotThereReachesNobody_data();
    void aTokenOfAnInstanceThatIsNotThereReachesNobody();
    void aTokenOfARecordUuidThatIsNotWellComposedIsWarnedOf_data();
    void aTokenOfARecordUuidThatIsNotWellComposedIsWarnedOf();
    void theEndOfAReplayGoesByItsSenderAlone_data();
    void theEndOfAReplayGoesByItsSenderAlone();
    void repliesThatAreNotCountedTakeAnyArguments_data();
    void repliesThatAreNotCountedTakeAnyArguments();
    void aProgressThatIsNoDoubleIsDropped_data();
    void aProgressThatIsNoDoubleIsDropped();

private:
    /// Compares what came of something that must change nothing.
    void _verifyNothingHappened(const QStringList& expectedProblems, const QStringList& expectedSignals = {});

    /// One for all rows, because none may change it.
    std::unique_ptr<Stage> _stage;
    std::unique_ptr<SignalLog> _signals;
    std::unique_ptr<Snapshot> _before;
    std::unique_ptr<MessageLog> _messages;
};

void tst_HostileForms::init()
{
    if (!_stage) {
        _stage = std::make_unique<Stage>();
        _stage->enter("replaying");
        _signals = std::make_unique<SignalLog>();
        for (const auto& [path, object] : Snapshot::objectsOf(_stage->fixture.module())) {
            _signals->follow(object, path);
        }
        _before = std::make_unique<Snapshot>(_stage->snapshot());
        _messages = std::make_unique<MessageLog>();
    }
    _messages->clear();
    QuenaryDouble::clearCalls();
    _signals->take();
}

void tst_HostileForms::cleanupTestCase()
{
    _messages.reset();
    _signals.reset();
    _stage.reset();
}

void tst_HostileForms::_verifyNothingHappened(const QStringList& expectedProblems, const QStringList& expectedSignals)
{
    ModuleFixture::settle();
    QCOMPARE(_messages->problems(), expectedProblems);
    QCOMPARE(_signals->take(), expectedSignals);
    QCOMPARE(_before->changesTo(_stage->snapshot()), QStringList());
    QCOMPARE(Stage::calls(), QStringList());
}

// ---- arguments --------------------------------------------------------------------------------------------------

void tst_HostileForms::aWrongNumberOfArgumentsIsWarnedOfAndDropped_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<QVariantList>("arguments");
    for (const Reply& reply : replies()) {
        if (reply.countMismatch.isEmpty()) {
            continue;
        }
        const auto row = [&reply](const char* name, const QVariantList& arguments) {
            QTest::addRow("%s, %s", qPrintable(reply.service), name) << reply.service << arguments;
        };
        if (reply.arguments.size() > 0) {
            row("none", {});
        }
        if (reply.arguments.size() > 1) {
            row("one less", reply.arguments.first(reply.arguments.size() - 1));
        }
        row("one more", reply.arguments + QVariantList { "more" });
        row("as many again", reply.arguments + reply.arguments + QVariantList { 1 });
        row("as many as the network carries", QVariantList(1024, QVariant("x")));
    }
}

void tst_HostileForms::aWrongNumberOfArgumentsIsWarnedOfAndDropped()
{
    QFETCH(QString, service);
    QFETCH(QVariantList, arguments);
    const Reply& reply = replyOf(service);
    QVERIFY(QuenaryDouble::callService(service, arguments, _stage->instance->uuid() + reply.tokenSuffix));
    _verifyNothingHappened({ "warning: " + reply.countMismatch });
}

void tst_HostileForms::anArgumentOfAWrongTypeIsWarnedOfAndDropped_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<int>("position");
    QTest::addColumn<QVariant>("value");
    for (const Reply& reply : replies()) {
        for (int position = 0; position < reply.arguments.size(); ++position) {
            for (const TypedValue& wrong : valuesOfEveryType()) {
                if (typeOf(reply.arguments.at(position)) != QLatin1StringView(wrong.type)) {
                    QTest::addRow("%s, argument %d is %s", qPrintable(reply.service), position + 1, wrong.type)
                        << reply.service << position << QVariant::fromValue(wrong.value);
                }
            }
        }
    }
}

void tst_HostileForms::anArgumentOfAWrongTypeIsWarnedOfAndDropped()
{
    QFETCH(QString, service);
    QFETCH(int, position);
    QFETCH(QVariant, value);
    const Reply& reply = replyOf(service);
    QVariantList arguments = reply.arguments;
    arguments[position] = value;
    QVERIFY(QuenaryDouble::callService(service, arguments, _stage->instance->uuid() + reply.tokenSuffix));
    _verifyNothingHappened({ "warning: " + reply.typeMismatches.at(position) });
}

void tst_HostileForms::theFirstWrongArgumentIsTheOneThatIsNamed_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<int>("firstWrong");
    for (const Reply& reply : replies()) {
        for (int position = 0; position + 1 < reply.arguments.size(); ++position) {
            QTest::addRow("%s from argument %d on", qPrintable(reply.service), position + 1)
                << reply.service << position;
        }
    }
}

void tst_HostileForms::theFirstWrongArgumentIsTheOneThatIsNamed()
{
    QFETCH(QString, service);
    QFETCH(int, firstWrong);
    const Reply& reply = replyOf(service);
    QVariantList arguments = reply.arguments;
    for (qsizetype i = firstWrong; i < arguments.size(); ++i) {
        arguments[i] = QByteArray("of no type that is expected anywhere");
    }
    QVERIFY(QuenaryDouble::callService(service, arguments, _stage->instance->uuid() + reply.tokenSuffix));
    _verifyNothingHappened({ "warning: " + reply.typeMismatches.at(firstWrong) });
}

// ---- tokens -----------------------------------------------------------------------------------------------------

void tst_HostileForms::aTokenOfAnInstanceThatIsNotThereReachesNobody_data()
{
    QTest::addColumn<QString>("service");
    // UUID in it stands for that of the instance.
    QTest::addColumn<QByteArray>("token");
    for (const Reply& reply : replies()) {
        // "record_uuid" looks at the form of its token first.
        if (reply.service == "record_uuid" || reply.unknownId.isEmpty()) {
            continue;
        }
        const auto row = [&reply](const char* name, const QByteArray& token) {
            QTest::addRow("%s, %s", qPrintable(reply.service), name) << reply.service << token;
        };
        row("no token", QByteArray());
        row("empty", QByteArray(""));
        row("unknown", RECORD_A.toUtf8());
        row("a separator", "##");
        row("a suffix where none is wanted", "UUID##record");
        row("an empty suffix", "UUID##");
        row("a prefix", "##UUID");
        row("three separators", "UUID##record##import##");
        row("twice", "UUIDUUID");
        row("with a blank", "UUID ");
        row("with a line feed", "UUID\n");
        row("in braces", "{UUID}");
        row("name of an input", "UUID#record_progress");
        row("formatted", "%s%n%1%d");
        row("marked up", "<img src='http://127.0.0.1/'>");
        row("not UTF-8", "\xff\xfe\xc0\x80UUID");
        row("of a megabyte", QByteArray(1024 * 1024, 'x'));
    }
}

void tst_HostileForms::aTokenOfAnInstanceThatIsNotThereReachesNobody()
{
    QFETCH(QString, service);
    QFETCH(QByteArray, token);
    token.replace("UUID", _stage->instance->uuid().toUtf8());
    const Reply& reply = replyOf(service);
    QVERIFY(QuenaryDouble::callServiceWithRawToken(service, reply.arguments, token));
    ModuleFixture::settle();
    QCOMPARE(_signals->take().size(), 1); // the reply is well formed
    _verifyNothingHappened({ "warning: " + reply.unknownId + ' ' + logged(QString::fromUtf8(token)) });
}

void tst_HostileForms::aTokenOfARecordUuidThatIsNotWellComposedIsWarnedOf_data()
{
    QTest::addColumn<QByteArray>("token");
    QTest::addColumn<QString>("warning"); // %1 is replaced by the token
    QTest::addColumn<QStringList>("sent");
    const auto row = [](const char* name, const QByteArray& token, const QString& warning, const char* sent = nullptr) {
        QTest::addRow("%s", name) << token << warning
                                  << (sent ? QStringList { QStringLiteral("module.%1").arg(sent) } : QStringList());
    };
    const QString noAction = "'record_uuid' reply: No action sent";
    const QString composition = "'record_uuid' reply: Wrong composition of token : %1";
    const QString action = "'record_uuid' reply: Action sent is not correct : ";
    const QString unknownStarted
        = "void RecorderModule::_onRecordingIsStarted(const QString &, const QString &) unknown recorder id ";
    const QString unknownImport
        = "void RecorderModule::_onImportReceived(const QString &, const QString &) unknown recorder id ";

    row("no token", QByteArray(), noAction);
    row("empty", QByteArray(""), noAction);
    row("the uuid alone", "UUID", noAction);
    row("one hash", "UUID#record", noAction);
    row("of a megabyte without a separator", QByteArray(1024 * 1024, 'x'), noAction);
    row("three parts", "UUID##record##record", composition);
    row("three separators", "UUID##record##import##", composition);
    row("four hashes", "####", composition);
    row("many hashes", QByteArray(1024 * 1024, '#'), composition);
    row("a separator", "##", action + "\"\"");
    row("an empty action", "UUID##", action + "\"\"");
    row("another case", "UUID##Record", action + "\"Record\"");
    row("a blank behind", "UUID##import ", action + "\"import \"");
    // The first two hashes separate.
    row("three hashes", "UUID###record", action + "\"#record\"");
    row("not UTF-8", "UUID##record\xff", action + logged(QStringLiteral("record\uFFFD")));
    row("a long action", "UUID##" + QByteArray(1024 * 1024, 'x'), action + logged(QString(1024 * 1024, u'x')));
    row("nobody records", "##record", unknownStarted + "\"\"", "recordingIsStarted");
    row("nobody imports", "##import", unknownImport + "\"\"", "importReceived");
    row("a stranger records", "x##record", unknownStarted + "\"x\"", "recordingIsStarted");
    row("a stranger imports", "x##import", unknownImport + "\"x\"", "importReceived");
}

void tst_HostileForms::aTokenOfARecordUuidThatIsNotWellComposedIsWarnedOf()
{
    QFETCH(QByteArray, token);
    QFETCH(QString, warning);
    QFETCH(QStringList, sent);
    token.replace("UUID", _stage->instance->uuid().toUtf8());
    QVERIFY(QuenaryDouble::callServiceWithRawToken("record_uuid", { RECORD_B }, token));
    if (warning.contains("%1")) {
        warning = warning.arg(logged(QString::fromUtf8(token)));
    }
    _verifyNothingHappened({ "warning: " + warning }, sent);
}

void tst_HostileForms::theEndOfAReplayGoesByItsSenderAlone_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("uuid");
    QTest::addColumn<QString>("warning");
    const auto row
        = [](const char* label, const QString& name, const QString& uuid, const QString& words, const QString& value) {
              QTest::addRow("%s", label) << name << uuid
                                         << "void RecorderModule::_onReplayEnded(const QString &, const QString &) "
                      + words + ' ' + logged(value);
          };
    const QString huge(1024 * 1024, u'x');
    row("no name", "", "", "unknown recorder", "");
    row("another case", "rec", "", "unknown recorder", "rec");
    row("a name of a megabyte", huge, "", "unknown recorder", huge);
    row("no uuid", "Rec", "", "unknown recorder uuid", "");
    row("an unknown uuid", "Rec", RECORD_A, "unknown recorder uuid", RECORD_A);
    row("a uuid of a megabyte", "Rec", huge, "unknown recorder uuid", huge);
    row("another recorder, which is off", "Other", "", "unknown recorder uuid", "");
}

void tst_HostileForms::theEndOfAReplayGoesByItsSenderAlone()
{
    QFETCH(QString, name);
    QFETCH(QString, uuid);
    QFETCH(QString, warning);
    // Not even the right token helps.
    QVERIFY(QuenaryDouble::callService("replay_ended", {}, _stage->instance->uuid(), { name, uuid }));
    _verifyNothingHappened({ "warning: " + warning }, { "module.replayEnded" });
}

// ---- what is not looked at --------------------------------------------------------------------------------------

void tst_HostileForms::repliesThatAreNotCountedTakeAnyArguments_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<QVariantList>("arguments");
    QVariantList ofEveryType;
    for (const TypedValue& value : valuesOfEveryType()) {
        ofEveryType.append(value.value);
    }
    for (const Reply& reply : replies()) {
        if (reply.countMismatch.isEmpty()) {
            QTest::addRow("%s, one of every type", qPrintable(reply.service)) << reply.service << ofEveryType;
            QTest::addRow("%s, as many as the network carries", qPrintable(reply.service))
                << reply.service << QVariantList(1024, QVariant(1.0));
        }
    }
}

void tst_HostileForms::repliesThatAreNotCountedTakeAnyArguments()
{
    QFETCH(QString, service);
    QFETCH(QVariantList, arguments);
    // From an agent and for an id that nobody knows: it is enough to see that they are not refused for their arguments.
    QVERIFY(QuenaryDouble::callService(service, arguments, "x", { "x", "x" }));
    const QString unknownId = replyOf(service).unknownId;
    if (service == "unloaded") {
        _verifyNothingHappened({});
    } else if (service == "replay_ended") {
        _verifyNothingHappened({ "warning: void RecorderModule::_onReplayEnded(const QString &, const QString &) "
                                 "unknown recorder \"x\"" },
            { "module.replayEnded" });
    } else {
        _verifyNothingHappened({ "warning: " + unknownId + " \"x\"" },
            { service == "paused" ? "module.recordPaused" : "module.recordFilterApplied" });
    }
}

void tst_HostileForms::aProgressThatIsNoDoubleIsDropped_data()
{
    QTest::addColumn<bool>("isOfReplay");
    QTest::addColumn<QVariant>("value");
    using QuenaryDouble::RawValue;
    for (const bool isOfReplay : { false, true }) {
        const auto row = [isOfReplay](const char* name, const QVariant& value) {
            QTest::addRow("%s, %s", isOfReplay ? "replay" : "recording", name)
                << isOfReplay << QVariant::fromValue(value);
        };
        row("a text that is no number", "soon");
        row("bytes", QByteArray("1.5"));
        row("nothing", QVariant());
        row("an impulse", QVariant::fromValue(RawValue { QNY_IMPULSE_T, {} }));
        row("a bool as it came", QVariant::fromValue(RawValue { QNY_BOOL_T, QByteArray(1, '\1') }));
        row("an integer as it came", QVariant::fromValue(RawValue { QNY_INTEGER_T, QByteArray(4, '\1') }));
        row("a text as it came", QVariant::fromValue(RawValue { QNY_STRING_T, "1.5" }));
        row("bytes as they came", QVariant::fromValue(RawValue { QNY_DATA_T, QByteArray(8, '\1') }));
        row("no type", QVariant::fromValue(RawValue { QNY_UNKNOWN_T, QByteArray(8, '\1') }));
        row("a double without a value", QVariant::fromValue(RawValue { QNY_DOUBLE_T, {} }));
    }
}

void tst_HostileForms::aProgressThatIsNoDoubleIsDropped()
{
    QFETCH(bool, isOfReplay);
    QFETCH(QVariant, value);
    const RecorderInstance* const instance = _stage->instance;
    QVERIFY(QuenaryDouble::writeInput(
        isOfReplay ? instance->replayProgressInput() : instance->recordProgressInput(), value));
    _verifyNothingHappened({});
}

QTEST_MAIN(tst_HostileForms)
#include "tst_hostileforms.moc"
