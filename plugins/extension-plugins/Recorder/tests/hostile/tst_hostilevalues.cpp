// SPDX-License-Identifier: Apache-2.0
#include "replies.h"
#include "stage.h"

#include <limits>

namespace {

constexpr double NO_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double ENDLESS = std::numeric_limits<double>::infinity();
constexpr double SMALLEST = std::numeric_limits<double>::denorm_min();

} // namespace

/// Replies of the right form with numbers that no recorder of good will sends. Each comes after one of good will, so
/// that exactly what the value makes different is seen.
class tst_HostileValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void initMain() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    void aNumberOfAReplyChangesWhatItStandsForAndNothingElse_data();
    void aNumberOfAReplyChangesWhatItStandsForAndNothingElse();
    void aProgressOfAReplayMovesThePositionAndNothingElse_data();
    void aProgressOfAReplayMovesThePositionAndNothingElse();
    void aProgressOfARecordingIsShownOnceAndPausesWhenItIsRepeated_data();
    void aProgressOfARecordingIsShownOnceAndPausesWhenItIsRepeated();
    void aBucketIsAskedForAsItWasNamed_data();
    void aBucketIsAskedForAsItWasNamed();
    void aLoadedFileWithoutAPathIsNoRecord();
};

// ---- numbers ----------------------------------------------------------------------------------------------------

void tst_HostileValues::aNumberOfAReplyChangesWhatItStandsForAndNothingElse_data()
{
    QTest::addColumn<QString>("service");
    QTest::addColumn<QVariantList>("goodArguments");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QStringList>("changes");
    const auto row = [](const char* service, const char* what, double value, const QVariantList& good,
                         const QVariantList& arguments, const QStringList& changes) {
        QTest::addRow("%s, %s %.8g", service, what, value) << QString(service) << good << arguments << sorted(changes);
    };

    const std::pair<double, const char*> percents[] = { { NO_NUMBER, "0" }, { ENDLESS, "100" }, { -ENDLESS, "0" },
        { 1e308, "100" }, { -1e308, "0" }, { SMALLEST, "0" }, { -SMALLEST, "0" }, { -0.0, "0" }, { 99.99999, "99" },
        { 100.00001, "100" }, { -1.0, "0" }, { 2147483648.0, "100" }, { -2147483649.0, "0" } };
    for (const auto& [value, percent] : percents) {
        row("loading", "percent", value, { 40.0 }, { value }, { change("Rec[0].loadingProgress", "40", percent) });
    }

    const auto expectPosition = [&row](double value, const char* position, bool isAtStart) {
        const auto expected = [&](const QString& record) {
            QStringList changes { change(record + "replayProgressInSecond", "1", position) };
            if (isAtStart) {
                changes.append(change(record + "replayIsAtStart", "false", "true"));
            }
            return changes;
        };
        row("moved_to", "position", value, { 1.0 }, { value }, expected("Rec[0].records[0]."));
        row("context", "position", value, contextOfFile(), contextOfFile({ value }, 3), expected(FILE_RECORD));
    };
    expectPosition(NO_NUMBER, "0", true);
    expectPosition(ENDLESS, "inf", false);
    expectPosition(-ENDLESS, "0", true);
    expectPosition(1e308, "1e+308", false);
    expectPosition(-1e308, "0", true);
    expectPosition(SMALLEST, "5e-324", true);
    expectPosition(-SMALLEST, "0", true);
    expectPosition(-0.0, "0", true);
    expectPosition(1e-12, "1e-12", true);
    expectPosition(1.1e-12, "1.1e-12", false);

    // A length is kept to what an integer of microseconds holds.
    const auto expectDuration = [&row](double value, const char* seconds, qint64 milliseconds) {
        const QDateTime start = QDateTime::fromString(REPLIED_START, Qt::ISODateWithMs);
        const auto text = [](const QDateTime& date) { return date.toString("yyyy-MM-dd HH:mm:ss.zzz 'local'"); };
        QStringList changes { change(FILE_RECORD + "durationInSeconds", "3", seconds) };
        if (milliseconds != 3000) {
            changes.append(
                change(FILE_RECORD + "endDateTime", text(start.addMSecs(3000)), text(start.addMSecs(milliseconds))));
        }
        row("context", "length", value, contextOfFile(), contextOfFile({ value }, 2), changes);
        row("loaded", "length", value, loadedFile(), loadedFile({ value }, 2), changes);
    };
    expectDuration(NO_NUMBER, "0", 0);
    expectDuration(ENDLESS, "1e+12", 1000000000000000);
    expectDuration(-ENDLESS, "-1e+12", -1000000000000000);
    expectDuration(1e308, "1e+12", 1000000000000000);
    expectDuration(-1e308, "-1e+12", -1000000000000000);
    expectDuration(SMALLEST, "0", 0);
    expectDuration(-SMALLEST, "0", 0);
    expectDuration(-0.0, "0", 0);
    expectDuration(-1.0, "-1", -1000);
    expectDuration(3.0000014, "3.000001", 3000);

    // Whatever another client of the recorder chose is shown.
    const std::pair<double, const char*> speeds[] = { { NO_NUMBER, "nan" }, { ENDLESS, "inf" }, { -ENDLESS, "-inf" },
        { 1e308, "1e+308" }, { -1e308, "-1e+308" }, { SMALLEST, "5e-324" }, { -0.0, "0" }, { -1.0, "-1" } };
    for (const auto& [value, speed] : speeds) {
        row("context", "speed", value, contextOfFile(), contextOfFile({ value }, 4),
            { change(FILE_RECORD + "children", "2 RecordAgentFilter,5 Speed", "2 RecordAgentFilter,6 Speed"),
                change(FILE_RECORD + "speed", FILE_RECORD + "speeds[1]", FILE_RECORD + "speeds[5]"),
                change(FILE_RECORD + "speeds", "5 rows", "6 rows"),
                change(FILE_RECORD + "speeds[5].children", "(none)", ""),
                change(FILE_RECORD + "speeds[5].label", "(none)", Speed(value).label()),
                change(FILE_RECORD + "speeds[5].objectName", "(none)", ""),
                change(FILE_RECORD + "speeds[5].value", "(none)", speed) });
    }
}

void tst_HostileValues::aNumberOfAReplyChangesWhatItStandsForAndNothingElse()
{
    QFETCH(QString, service);
    QFETCH(QVariantList, goodArguments);
    QFETCH(QVariantList, arguments);
    QFETCH(QStringList, changes);
    Stage stage;
    stage.enter("loaded");
    const MessageLog messages;
    stage.recorder->reply(service, goodArguments);
    const Snapshot before = stage.snapshot();
    stage.recorder->reply(service, arguments);
    QCOMPARE(sorted(before.changesTo(stage.snapshot())), changes);
    QCOMPARE(messages.problems(), QStringList());
    QCOMPARE(Stage::calls(), QStringList());
}

void tst_HostileValues::aProgressOfAReplayMovesThePositionAndNothingElse_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("position");
    QTest::addColumn<bool>("isAtStart");
    QTest::newRow("no number") << NO_NUMBER << "0" << true;
    QTest::newRow("endless") << ENDLESS << "inf" << false;
    QTest::newRow("endless the other way") << -ENDLESS << "0" << true;
    QTest::newRow("huge") << 1e308 << "1e+308" << false;
    QTest::newRow("the smallest") << SMALLEST << "5e-324" << true;
    QTest::newRow("below zero by the smallest") << -SMALLEST << "0" << true;
    QTest::newRow("minus zero") << -0.0 << "0" << true;
}

void tst_HostileValues::aProgressOfAReplayMovesThePositionAndNothingElse()
{
    QFETCH(double, value);
    QFETCH(QString, position);
    QFETCH(bool, isAtStart);
    Stage stage;
    stage.enter("replaying");
    const MessageLog messages;
    const QString record = "Rec[0].records[0].";
    QStringList changes { change(record + "replayProgressInSecond", "1.5", position) };
    if (isAtStart) {
        changes.prepend(change(record + "replayIsAtStart", "false", "true"));
    }
    const Snapshot before = stage.snapshot();
    QSignalSpy moved(stage.recordA(), &RecorderRecord::replayProgressInSecondChanged);
    stage.recorder->progress(stage.instance->replayProgressInput(), value);
    stage.recorder->progress(stage.instance->replayProgressInput(), value);
    QCOMPARE(sorted(before.changesTo(stage.snapshot())), sorted(changes));
    QCOMPARE(moved.count(), 1);
    QCOMPARE(messages.problems(), QStringList());
}

void tst_HostileValues::aProgressOfARecordingIsShownOnceAndPausesWhenItIsRepeated_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("shown");
    QTest::newRow("no number") << NO_NUMBER << "nan";
    QTest::newRow("endless") << ENDLESS << "inf";
    QTest::newRow("endless the other way") << -ENDLESS << "-inf";
    QTest::newRow("huge") << 1e308 << "1e+308";
    QTest::newRow("hugely negative") << -1e308 << "-1e+308";
    QTest::newRow("the smallest") << SMALLEST << "5e-324";
    QTest::newRow("below zero by the smallest") << -SMALLEST << "-5e-324";
    QTest::newRow("minus zero") << -0.0 << "0";
}

void tst_HostileValues::aProgressOfARecordingIsShownOnceAndPausesWhenItIsRepeated()
{
    QFETCH(double, value);
    QFETCH(QString, shown);
    Stage::tellInTime([&](Stage& stage) {
        const MessageLog messages;
        QSignalSpy changed(stage.instance, &RecorderInstance::recordingProgressInSecondsChanged);
        Snapshot expected = stage.snapshot();
        stage.progress(value);
        stage.progress(value);
        // Zero is what an idle recorder shows already.
        if (shown != "0") {
            expected.set("Rec[0].recordingProgressInSeconds", shown);
            expected.set("Rec[0].isRecording", "true");
        }
        if (value > 0.0) {
            expected.set("Rec[0].isRecordingPaused", "true");
        }
        QStringList surprises = expected.changesTo(stage.snapshot()) + messages.problems();
        if (changed.count() != (shown == "0" ? 0 : 1)) {
            surprises.append(QStringLiteral("told %1 times").arg(changed.count()));
        }
        return surprises;
    });
}

void tst_HostileValues::aBucketIsAskedForAsItWasNamed_data()
{
    QTest::addColumn<int>("bucket");
    for (const int bucket : { std::numeric_limits<int>::min(), -1, 0, std::numeric_limits<int>::max() }) {
        QTest::addRow("%d", bucket) << bucket;
    }
}

void tst_HostileValues::aBucketIsAskedForAsItWasNamed()
{
    QFETCH(int, bucket);
    Stage stage;
    stage.enter("exporting");
    const MessageLog messages;
    const Snapshot before = stage.snapshot();
    stage.recorder->reply("receive_export", { RECORD_A, bucket, "next", "" });
    QCOMPARE(
        Stage::calls(), QStringList { QStringLiteral("export(%1,%2,next,-1,false,false)").arg(RECORD_A).arg(bucket) });
    QCOMPARE(before.changesTo(stage.snapshot()), QStringList());
    QCOMPARE(messages.problems(), QStringList());
}

// A record without an identity could neither be exported nor told from another.
void tst_HostileValues::aLoadedFileWithoutAPathIsNoRecord()
{
    Stage stage;
    stage.enter("loading");
    const MessageLog messages;
    Snapshot expected = stage.snapshot();
    expected.set("Rec[0].isLoadingRecord", "false");
    stage.recorder->reply("loaded", loadedFile({ "" }, 0));
    QCOMPARE(expected.changesTo(stage.snapshot()), QStringList());
    QCOMPARE(messages.problems(),
        QStringList { "warning: void RecorderInstance::recordLoaded(const QString &, const QDateTime &, double, const "
                      "QString &) unknown record id \"\"" });
}

QTEST_MAIN(tst_HostileValues)
#include "tst_hostilevalues.moc"
