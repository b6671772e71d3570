// SPDX-License-Identifier: Apache-2.0
// A person's first quarter of an hour: the programs on a display, worked with keys and clicks only, and judged by what
// the window shows, by the files that they leave and by what another agent of the network receives.
//
// The steps build on one another: once one failed, the others are left out.
#include "display.h"
#include "hand.h"
#include "processes.h"
#include "shownwindow.h"

#include <observation.h>
#include <recordfile.h>

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <algorithm>
#include <memory>

namespace {

constexpr QSize displaySize(1560, 900);
constexpr QPoint dragSourcePlace(1320, 60); // beside the host's window, which is 1280 wide
constexpr int boundMs = 20'000;
constexpr int startBoundMs = 60'000; // of what may have to be made first

// Of "00:00:04.250", with or without spaces; -1 for no time.
double secondsOf(const QString& text)
{
    const QStringList parts = QString(text).remove(QLatin1Char(' ')).split(QLatin1Char(':'));
    return parts.size() == 3 ? (parts.at(0).toInt() * 60 + parts.at(1).toInt()) * 60 + parts.at(2).toDouble() : -1;
}

} // namespace

class tst_with_display : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void theWindowAppearsWithTheRecorderAndThePlant();
    void aClickConnectsTheRecorder();
    void aClickStartsARecordingAndAKeyEndsIt();
    void thePlantIsStoppedOnTheSystemPage();
    void aClickOnARecordLoadsIt();
    void oneAgentAloneIsChosenWithTheKeyboard();
    void aPressInTheMiddleOfTheSliderMovesThere();
    void theSpeedIsChosenFromItsList();
    void onlyTheChosenAgentIsPlayedFromTheMiddleAtFourTimesTheSpeed();
    void theRecordIsSavedUnderTheTypedName();
    void aFileDroppedOnTheRecordsIsImported();
    void theCopyIsDeletedThroughTheQuestion();
    void aFileIsImportedThroughTheButton();
    void aFileDroppedOnTheTabForFilesIsLoaded();
    void theRecorderIsDisconnectedAndTheWindowClosed();
    void cleanup();
    void cleanupTestCase();

private:
    // Clicks on a control once it is there and can be pressed; false when that does not come.
    bool click(const std::function<std::optional<Control>()>& find);
    bool clickNamed(const QString& name, const QString& text = {});
    // In the dialog that is open: types the name of the CSV file, in the folder that the dialog proposes.
    bool saveUnderTypedName();
    // In the dialog that is open: takes the CSV file, the only one listed.
    bool openListedFile();
    bool shows(const QString& name, const QString& text) const;
    // Drags the CSV file from another program over something of that name, which says what a drop does there, and drops
    // it. Fails the test unless it is taken.
    void dropFileOn(const QString& area, const QString& overlayText, const std::function<bool()>& isTaken);
    std::optional<Control> recordNamed(const QString& name) const { return _window->named("recordNameText", name); }

    QTemporaryDir _folder;
    QProcessEnvironment _environment;
    std::unique_ptr<UnseenDisplay> _display;
    std::unique_ptr<Hand> _hand;
    std::unique_ptr<ShownWindow> _window;
    QProcess _host;
    QString _record; // its name
    QString _csv;
    double _duration = 0; // of the record, in seconds
    double _middle = 0; // where it is played from
    QList<tour::Observation> _played;
    bool _hasFailed = false;
};

void tst_with_display::initTestCase()
{
    QVERIFY(_folder.isValid());
    QVERIFY(makeHome(_folder.path()));
    _display = std::make_unique<UnseenDisplay>(displaySize, _folder.path());
    QString error;
    QVERIFY2(_display->start(&error), qPrintable(error));
    _environment = environmentOf(_folder.path(), _display->name());
    _hand = std::make_unique<Hand>(_display->name());
    _window = std::make_unique<ShownWindow>(_folder.filePath("controls.json"));
    _csv = _folder.filePath("Documents/plant copy.csv");
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
}

void tst_with_display::init()
{
    if (_hasFailed) {
        QSKIP("an earlier step failed");
    }
}

void tst_with_display::cleanup()
{
    if (!QTest::currentTestFailed() || _hasFailed) {
        return;
    }
    _hasFailed = true;
    const QDir pictures(QStringLiteral(RR_PICTURES));
    const QString name = QString::fromLatin1(QTest::currentTestFunction());
    if (pictures.mkpath(".") && _display->picture().save(pictures.filePath(name + ".png"))) {
        QFile::remove(pictures.filePath(name + ".json"));
        QFile::copy(_folder.filePath("controls.json"), pictures.filePath(name + ".json"));
        qInfo("The display is in %s.png, the controls in .json beside it", qPrintable(pictures.filePath(name)));
    }
    qInfo("The host said: %s", _host.readAll().constData());
}

void tst_with_display::cleanupTestCase()
{
    end(&_host);
    endProcessesOf(_folder.path()); // a recorder outlives the host
    QTRY_VERIFY_WITH_TIMEOUT(processesOf(_folder.path()).isEmpty(), boundMs);
    _display.reset();
}

bool tst_with_display::click(const std::function<std::optional<Control>()>& find)
{
    // What was laid out a moment ago may still be on its way to its place: twice in the same place is there.
    std::optional<Control> last;
    const bool isThere = QTest::qWaitFor(
        [&] {
            const std::optional<Control> now = find();
            const bool rests = now && now->isEnabled && last && last->rectangle == now->rectangle;
            last = now;
            return rests;
        },
        boundMs);
    if (isThere) {
        _hand->click(last->middle());
    }
    return isThere;
}

bool tst_with_display::clickNamed(const QString& name, const QString& text)
{
    return click([&] { return _window->named(name, text); });
}

bool tst_with_display::saveUnderTypedName()
{
    if (!clickNamed("fileNameEdit")) {
        return false;
    }
    // No path: while one is typed, the dialog may propose others and take the key for its proposals.
    _hand->key("ctrl+a");
    _hand->type(QFileInfo(_csv).fileName());
    _hand->key("Return");
    return QTest::qWaitFor([this] { return !_window->named("fileNameEdit"); }, boundMs);
}

bool tst_with_display::openListedFile()
{
    const QString name = QFileInfo(_csv).fileName();
    const auto list = [this] { return _window->named("treeView"); };
    if (!QTest::qWaitFor([&] { return list().has_value(); }, boundMs)) {
        return false;
    }
    // It stands below the head of the list, once the folder was read.
    int y = 0;
    const bool isChosen = QTest::qWaitFor(
        [&] {
            constexpr QPoint first(60, 8);
            constexpr int step = 8;
            constexpr int steps = 7;
            if (const auto shown = list()) {
                _hand->click(shown->rectangle.topLeft() + first + QPoint(0, y++ % steps * step));
            }
            return QTest::qWaitFor([&] { return shows("fileNameEdit", name); }, 300);
        },
        boundMs);
    return isChosen && click([this] { return _window->withText("&Open"); })
        && QTest::qWaitFor([this] { return !_window->named("fileNameEdit"); }, boundMs);
}

bool tst_with_display::shows(const QString& name, const QString& text) const
{
    return _window->named(name, text).has_value();
}

void tst_with_display::dropFileOn(const QString& area, const QString& overlayText, const std::function<bool()>& isTaken)
{
    QProcess source;
    source.setProcessEnvironment(_environment);
    const auto ends = qScopeGuard([&source] { end(&source); });
    bind(&source);
    source.start(QStringLiteral(RR_DRAG_SOURCE),
        { _csv, QString::number(dragSourcePlace.x()), QString::number(dragSourcePlace.y()) });
    QByteArray said;
    const auto sourceSays = [&](const QByteArray& word) {
        return QTest::qWaitFor([&] { return (said += source.readAll()).contains(word); }, boundMs);
    };
    QVERIFY2(sourceSays("ready\n"), qPrintable(source.errorString()));

    QTRY_VERIFY_WITH_TIMEOUT(_window->named(area), boundMs);
    const QPoint from = dragSourcePlace + QPoint(60, 60);
    const QPoint to = _window->named(area)->middle();
    _hand->moveTo(from);
    _hand->press();
    _hand->moveTo(from + QPoint(4, 4));
    _hand->moveTo(from + QPoint(30, 20));
    // On its way a hand passes many points; the drag is told of each.
    constexpr int points = 12;
    for (int index = 1; index <= points; ++index) {
        _hand->moveTo(from + (to - from) * index / points);
    }
    int wiggle = 0;
    const bool isOver = QTest::qWaitFor(
        [&] {
            _hand->moveTo(to + QPoint(++wiggle % 2, 0));
            return shows("dropText", overlayText);
        },
        boundMs);
    _hand->release();
    QVERIFY(isOver);
    QVERIFY2(sourceSays("dropped\n"), said.constData());
    // The file's name is asked for only now, of its source, which therefore stays until it is taken.
    QTRY_VERIFY_WITH_TIMEOUT(isTaken(), boundMs);
}

// ---- the steps ------------------------------------------------------------------------------------------------------

void tst_with_display::theWindowAppearsWithTheRecorderAndThePlant()
{
    _host.setProcessEnvironment(_environment);
    _host.setProcessChannelMode(QProcess::MergedChannels);
    bind(&_host);
    QStringList options { "--report-controls", _folder.filePath("controls.json"), RR_START_OPTION };
    options.removeAll(QString());
    _host.start(QStringLiteral(RR_START), options);
    QVERIFY2(_host.waitForStarted(boundMs), qPrintable(_host.errorString()));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("connectButton"), startBoundMs);
    QVERIFY(shows("recorderTitle", "Plant recorder"));

    QVERIFY(click([this] { return _window->withText("System"); }));
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("Stop sample plant"), boundMs);
    // Six agents run, the recorder does not.
    QTRY_COMPARE_WITH_TIMEOUT(_window->textsOf("instanceState").count("Running"), 6, boundMs);
    QCOMPARE(_window->textsOf("instanceState").count("Off"), 1);
    QVERIFY(click([this] { return _window->withText("Record && Replay"); }));
}

void tst_with_display::aClickConnectsTheRecorder()
{
    QVERIFY(clickNamed("connectButton"));
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("Disconnect"), boundMs);
    QVERIFY(clickNamed("recorderInstance"));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("recorderTabs"), boundMs);
    QVERIFY(_window->withText("RECORDS (0)"));
}

void tst_with_display::aClickStartsARecordingAndAKeyEndsIt()
{
    QVERIFY(clickNamed("recordButton"));
    QTRY_VERIFY_WITH_TIMEOUT(
        _window->named("recordingTime") && secondsOf(_window->named("recordingTime")->text) >= 6, boundMs);
    _hand->key("F5");
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("RECORDS (1)"), boundMs);
}

void tst_with_display::thePlantIsStoppedOnTheSystemPage()
{
    QVERIFY(click([this] { return _window->withText("System"); }));
    QVERIFY(click([this] { return _window->withText("Stop sample plant"); }));
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("Start sample plant"), boundMs);
    QTRY_COMPARE_WITH_TIMEOUT(_window->textsOf("instanceState").count("Off"), 6, boundMs);
    QVERIFY(click([this] { return _window->withText("Record && Replay"); }));
}

void tst_with_display::aClickOnARecordLoadsIt()
{
    QVERIFY(click([this] { return _window->withText("RECORDS (1)"); }));
    QTRY_COMPARE_WITH_TIMEOUT(_window->textsOf("recordNameText").size(), 1, boundMs);
    _record = _window->named("recordNameText")->text;
    QVERIFY(clickNamed("recordNameText"));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("recordSlider"), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("durationText"), boundMs);
    _duration = secondsOf(_window->named("durationText")->text.mid(1));
    QVERIFY2(_duration >= 5 && _duration < 60, qPrintable(_window->named("durationText")->text));
}

void tst_with_display::oneAgentAloneIsChosenWithTheKeyboard()
{
    QVERIFY(clickNamed("agentsFilter"));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("agentsList"), boundMs);
    const auto isChecked = [this](const QString& agent) {
        const auto box = _window->ofType("CheckBox", agent);
        return box && box->isChecked;
    };
    const QStringList agents { "Controller", "Operator", "Pump A", "Pump B", "Tank", "Valve" };
    for (const QString& agent : agents) {
        QTRY_VERIFY2_WITH_TIMEOUT(isChecked(agent), qPrintable(agent), boundMs);
    }
    // The list has the keyboard, on its first agent.
    for (const QString& agent : agents) {
        if (agent != QLatin1String("Tank")) {
            _hand->key("space");
            QTRY_VERIFY2_WITH_TIMEOUT(!isChecked(agent), qPrintable(agent), boundMs);
        }
        _hand->key("Down");
    }
    _hand->key("Escape");
    QTRY_VERIFY_WITH_TIMEOUT(!_window->named("agentsList"), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(shows("agentsFilterRecap", "Tank"), boundMs);
}

void tst_with_display::aPressInTheMiddleOfTheSliderMovesThere()
{
    QVERIFY(clickNamed("recordSlider"));
    const auto position = [this] {
        const auto field = _window->named("positionField");
        return field ? secondsOf(field->text) : -1;
    };
    QTRY_VERIFY_WITH_TIMEOUT(std::abs(position() - _duration / 2) < _duration / 20, boundMs);
    _middle = position();
}

void tst_with_display::theSpeedIsChosenFromItsList()
{
    QVERIFY(clickNamed("speedChooser"));
    QVERIFY(click([this] { return _window->withText("4×"); }));
    QTRY_VERIFY_WITH_TIMEOUT(shows("speedChooser", "4×"), boundMs);
}

void tst_with_display::onlyTheChosenAgentIsPlayedFromTheMiddleAtFourTimesTheSpeed()
{
    // Another agent of the network listens to the chosen agent and to one that was not chosen.
    const QString rows = _folder.filePath("rows.csv");
    QProcess observer;
    observer.setProcessEnvironment(_environment);
    const auto ends = qScopeGuard([&observer] {
        observer.closeWriteChannel();
        observer.waitForFinished(boundMs);
        end(&observer);
    });
    bind(&observer);
    observer.start(
        QStringLiteral(RR_OBSERVER), { "--output", rows, "--map", "Tank/level/double", "--map", "Pump A/flow/double" });
    QByteArray said;
    const auto observerSays = [&](const QByteArray& word) {
        return QTest::qWaitFor([&] { return (said += observer.readAll()).contains(word); }, boundMs);
    };
    QVERIFY2(observerSays("ready\n"), said.constData());
    QVERIFY2(observerSays("live 1\n"), said.constData()); // the stand-in of the tank; there is none of the pump

    QVERIFY(clickNamed("playButton"));
    const auto read = [this, &rows] {
        QFile file(rows);
        QString error;
        _played.clear();
        return file.open(QIODevice::ReadOnly) && tour::readObservations(file.readAll(), &_played, &error);
    };
    QTRY_VERIFY_WITH_TIMEOUT(read()
            && std::any_of(
                _played.cbegin(), _played.cend(), [](const tour::Observation& one) { return !one.isLastValue; }),
        boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(
        !_window->named("stopButton"), boundMs); // it has ended by itself and gone back to its start
    QVERIFY(read());
    _played.removeIf([](const tour::Observation& one) { return one.isLastValue; });
    for (const tour::Observation& one : std::as_const(_played)) {
        QCOMPARE(one.event.agent, QStringLiteral("Tank"));
        QVERIFY(one.isStandIn);
        QCOMPARE(one.lost, 0u);
    }
}

void tst_with_display::theRecordIsSavedUnderTheTypedName()
{
    QVERIFY(click([this] { return _window->beside("downloadButton", *recordNamed(_record)); }));
    QVERIFY(saveUnderTypedName());
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(_csv) && !_window->named("progressFeedback"), boundMs);

    tour::RecordFile file;
    QString error;
    QTRY_VERIFY2_WITH_TIMEOUT(file.readFile(_csv, &error), qPrintable(error), boundMs);
    QCOMPARE(file.facts().value("name"), _record);
    QCOMPARE(file.agents(), QStringList({ "Controller", "Operator", "Pump A", "Pump B", "Tank", "Valve" }));
    QVERIFY2(
        std::abs(file.durationInSeconds() - _duration) < 0.01, qPrintable(QString::number(file.durationInSeconds())));

    // What was heard is the tank's level from the middle of this record to its end, value by value.
    QStringList recorded;
    QList<qint64> times;
    for (const tour::TracedEvent& event : file.events()) {
        if (event.agent == QLatin1String("Tank") && event.output == QLatin1String("level")) {
            recorded.append(event.value.key());
            times.append(event.timeUs);
        }
    }
    QVERIFY2(recorded.size() > 150, qPrintable(QString::number(recorded.size()))); // 50 a second
    const qsizetype expected = std::count_if(
        times.cbegin(), times.cend(), [this](qint64 time) { return static_cast<double>(time) > _middle * 1e6; });
    // The move may publish the state at the point, and the position shown is rounded to milliseconds.
    QVERIFY2(_played.size() >= expected - 1 && _played.size() <= expected + 2,
        qPrintable(QStringLiteral("%1 heard, %2 expected").arg(_played.size()).arg(expected)));
    QStringList heard;
    for (const tour::Observation& one : std::as_const(_played)) {
        heard.append(one.event.value.key());
    }
    const qsizetype same = expected - 1;
    QCOMPARE(heard.last(same), recorded.last(same));
    // Four times as fast, told from once and twice as fast.
    const double recordedUs = static_cast<double>(times.last() - times.at(times.size() - same));
    const double heardUs
        = static_cast<double>(_played.last().event.timeUs - _played.at(_played.size() - same).event.timeUs);
    QVERIFY2(recordedUs / heardUs > 2.5 && recordedUs / heardUs < 8, qPrintable(QString::number(recordedUs / heardUs)));
}

void tst_with_display::aFileDroppedOnTheRecordsIsImported()
{
    dropFileOn("recordsDropArea", "Drop to import file", [this] { return recordNamed("plant copy").has_value(); });
    QVERIFY(_window->withText("RECORDS (2)"));
    QVERIFY(recordNamed(_record));
}

void tst_with_display::theCopyIsDeletedThroughTheQuestion()
{
    QVERIFY(click([this] { return _window->beside("deleteRecordButton", *recordNamed("plant copy")); }));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("question"), boundMs);
    QVERIFY2(_window->named("question")->text.contains("plant copy"), qPrintable(_window->named("question")->text));
    QVERIFY(clickNamed("acceptDeletionButton"));
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("RECORDS (1)"), boundMs);
    QTRY_COMPARE_WITH_TIMEOUT(_window->textsOf("recordNameText"), QStringList(_record), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(!_window->named("question"), boundMs);
}

void tst_with_display::aFileIsImportedThroughTheButton()
{
    QVERIFY(clickNamed("importButton"));
    QVERIFY(openListedFile());
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("RECORDS (2)"), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(recordNamed("plant copy"), boundMs);
    QVERIFY(recordNamed(_record));
}

void tst_with_display::aFileDroppedOnTheTabForFilesIsLoaded()
{
    QVERIFY(click([this] { return _window->withText("CSV FILE"); }));
    dropFileOn("fileDropArea", "Drop to load CSV file", [this] { return _window->named("recordSlider").has_value(); });
    QVERIFY(shows("filePathField", _csv));
    QVERIFY(shows("fileRecordName", _csv));
}

void tst_with_display::theRecorderIsDisconnectedAndTheWindowClosed()
{
    QVERIFY(clickNamed("connectButton"));
    QTRY_VERIFY_WITH_TIMEOUT(shows("connectButton", "Connect"), boundMs);
    // The document keeps the path of the file that was loaded, which is a change.
    _hand->key("ctrl+q");
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("Save the changes of \"water-plant\" before it is closed?"), boundMs);
    QVERIFY(click([this] { return _window->withText("Discard"); }));
    QTRY_COMPARE_WITH_TIMEOUT(_host.state(), QProcess::NotRunning, boundMs);
    QCOMPARE(_host.exitStatus(), QProcess::NormalExit);
    QCOMPARE(_host.exitCode(), 0);
    QTRY_COMPARE_WITH_TIMEOUT(processesOf(_folder.path()), QList<pid_t>(), boundMs);
}

QTEST_GUILESS_MAIN(tst_with_display)
#include "tst_with_display.moc"
