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
    void aDragOfTheSliderMovesWhereItIsReleased();
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
    // What the observer has heard so far, without what the outputs held before.
    QList<tour::Observation> played() const;
    // The text of the first of that name; empty when there is none.
    QString textOf(const QString& name) const
    {
        const auto control = _window->named(name);
        return control ? control->text : QString();
    }
    std::optional<Control> recordNamed(const QString& name) const { return _window->named("recordNameText", name); }
    std::optional<Control> inRowOf(const QString& recordName, const QString& name) const
    {
        const auto record = recordNamed(recordName);
        return record ? _window->beside(name, *record) : std::nullopt;
    }

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
    QProcess _observer;
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
    end(&_observer);
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

QList<tour::Observation> tst_with_display::played() const
{
    QList<tour::Observation> observations;
    QFile file(_folder.filePath("rows.csv"));
    QString error;
    if (!file.open(QIODevice::ReadOnly) || !tour::readObservations(file.readAll(), &observations, &error)) {
        return {};
    }
    observations.removeIf([](const tour::Observation& one) { return one.isLastValue; });
    return observations;
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

    std::optional<Control> shown;
    QTRY_VERIFY_WITH_TIMEOUT((shown = _window->named(area)), boundMs);
    const QPoint from = dragSourcePlace + QPoint(60, 60);
    const QPoint to = shown->middle();
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
    QTRY_VERIFY_WITH_TIMEOUT(shows("recorderTitle", "Plant recorder"), boundMs);

    QVERIFY(click([this] { return _window->withText("System"); }));
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("Stop sample plant"), boundMs);
    // Six agents run, the recorder does not.
    QTRY_COMPARE_WITH_TIMEOUT(_window->textsOf("instanceState").count("Running"), 6, boundMs);
    QTRY_COMPARE_WITH_TIMEOUT(_window->textsOf("instanceState").count("Off"), 1, boundMs);
    QVERIFY(click([this] { return _window->withText("Record && Replay"); }));
}

void tst_with_display::aClickConnectsTheRecorder()
{
    QVERIFY(clickNamed("connectButton"));
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("Disconnect"), boundMs);
    QVERIFY(clickNamed("recorderInstance"));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("recorderTabs"), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("RECORDS (0)"), boundMs);
}

void tst_with_display::aClickStartsARecordingAndAKeyEndsIt()
{
    QVERIFY(clickNamed("recordButton"));
    QTRY_VERIFY_WITH_TIMEOUT(secondsOf(textOf("recordingTime")) >= 6, boundMs);
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
    _record = textOf("recordNameText");
    QVERIFY(!_record.isEmpty());
    QVERIFY(clickNamed("recordDuration"));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("recordSlider"), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(!textOf("durationText").isEmpty(), boundMs);
    _duration = secondsOf(textOf("durationText").mid(1));
    QVERIFY2(_duration >= 5 && _duration < 60, qPrintable(textOf("durationText")));
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
            // Each change is sent, and the list waits for the recorder.
            QTRY_VERIFY2_WITH_TIMEOUT(!isChecked(agent) && !_window->named("busyFeedback"), qPrintable(agent), boundMs);
        }
        _hand->key("Down");
    }
    _hand->key("Escape");
    QTRY_VERIFY_WITH_TIMEOUT(!_window->named("agentsList"), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(shows("agentsFilterRecap", "Tank"), boundMs);
}

void tst_with_display::aDragOfTheSliderMovesWhereItIsReleased()
{
    const auto slider = _window->named("recordSlider");
    QVERIFY(slider);
    const auto place = [&slider](double part) {
        constexpr int handle = 16;
        const QRect& all = slider->rectangle;
        return QPoint(all.left() + handle / 2 + qRound((all.width() - handle) * part), all.center().y());
    };
    const auto position = [this] { return secondsOf(textOf("positionField")); };
    _hand->moveTo(place(0.1));
    _hand->press();
    for (const double part : { 0.3, 0.5, 0.7, 0.9, 0.8, 0.65 }) {
        _hand->moveTo(place(part));
    }
    QCOMPARE(position(), 0.0);
    _hand->release();
    QTRY_VERIFY_WITH_TIMEOUT(position() > 0 && !_window->named("busyFeedback"), boundMs);
    QVERIFY2(std::abs(position() - 0.65 * _duration) < _duration / 100, qPrintable(textOf("positionField")));
}

void tst_with_display::aPressInTheMiddleOfTheSliderMovesThere()
{
    QVERIFY(clickNamed("recordSlider"));
    const auto position = [this] { return secondsOf(textOf("positionField")); };
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
    _observer.setProcessEnvironment(_environment);
    bind(&_observer);
    _observer.start(QStringLiteral(RR_OBSERVER),
        { "--output", _folder.filePath("rows.csv"), "--map", "Tank/level/double", "--map", "Pump A/flow/double" });
    QByteArray said;
    const auto observerSays = [&](const QByteArray& word) {
        return QTest::qWaitFor([&] { return (said += _observer.readAll()).contains(word); }, boundMs);
    };
    QVERIFY2(observerSays("ready\n"), said.constData());
    QVERIFY2(observerSays("live 1\n"), said.constData()); // the stand-in of the tank; there is none of the pump

    QVERIFY(clickNamed("playButton"));
    QTRY_VERIFY_WITH_TIMEOUT(!played().isEmpty(), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(!_window->named("stopButton"), boundMs); // it ended by itself and went back to its start
}

void tst_with_display::theRecordIsSavedUnderTheTypedName()
{
    QVERIFY(click([this] { return inRowOf(_record, "downloadButton"); }));
    QVERIFY(saveUnderTypedName());
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(_csv) && !_window->named("progressFeedback"), boundMs);

    tour::RecordFile file;
    QString error;
    QTRY_VERIFY2_WITH_TIMEOUT(file.readFile(_csv, &error), qPrintable(error), boundMs);
    QCOMPARE(file.facts().value("name"), _record);
    QCOMPARE(file.agents(), QStringList({ "Controller", "Operator", "Pump A", "Pump B", "Tank", "Valve" }));
    QVERIFY2(
        std::abs(file.durationInSeconds() - _duration) < 0.01, qPrintable(QString::number(file.durationInSeconds())));

    // What was heard is the tank's level from the middle of this record to its end, value by value; the last of it may
    // still be on its way.
    QStringList recorded;
    QList<qint64> times;
    for (const tour::TracedEvent& event : file.events()) {
        if (event.agent == QLatin1String("Tank") && event.output == QLatin1String("level")) {
            recorded.append(event.value.key());
            times.append(event.timeUs);
        }
    }
    QVERIFY2(recorded.size() > 150, qPrintable(QString::number(recorded.size()))); // 50 a second
    QList<tour::Observation> observations;
    const auto isAllHeard = [&] {
        observations = played();
        return !observations.isEmpty() && observations.last().event.value.key() == recorded.last();
    };
    QTRY_VERIFY_WITH_TIMEOUT(isAllHeard(), boundMs);
    _observer.closeWriteChannel();
    QVERIFY2(_observer.waitForFinished(boundMs), qPrintable(_observer.errorString()));
    const qsizetype expected = std::count_if(
        times.cbegin(), times.cend(), [this](qint64 time) { return static_cast<double>(time) > _middle * 1e6; });
    // The move may publish the state at the point, and the position shown is rounded to milliseconds.
    QVERIFY2(observations.size() >= expected - 1 && observations.size() <= expected + 2,
        qPrintable(QStringLiteral("%1 heard, %2 expected").arg(observations.size()).arg(expected)));
    QStringList heard;
    for (const tour::Observation& one : observations) {
        QCOMPARE(one.event.agent, QStringLiteral("Tank"));
        QVERIFY(one.isStandIn);
        QCOMPARE(one.lost, 0u);
        heard.append(one.event.value.key());
    }
    const qsizetype same = expected - 1;
    QCOMPARE(heard.last(same), recorded.last(same));
    // Four times as fast, told from once and twice as fast.
    const double recordedUs = static_cast<double>(times.last() - times.at(times.size() - same));
    const double heardUs = static_cast<double>(
        observations.last().event.timeUs - observations.at(observations.size() - same).event.timeUs);
    QVERIFY2(recordedUs / heardUs > 2.5 && recordedUs / heardUs < 8, qPrintable(QString::number(recordedUs / heardUs)));
}

void tst_with_display::aFileDroppedOnTheRecordsIsImported()
{
    dropFileOn("recordsDropArea", "Drop to import file", [this] { return recordNamed("plant copy").has_value(); });
    QTRY_VERIFY_WITH_TIMEOUT(_window->withText("RECORDS (2)"), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(recordNamed(_record), boundMs);
}

void tst_with_display::theCopyIsDeletedThroughTheQuestion()
{
    QVERIFY(click([this] { return inRowOf("plant copy", "deleteRecordButton"); }));
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("question"), boundMs);
    QVERIFY2(textOf("question").contains("plant copy"), qPrintable(textOf("question")));
    QVERIFY(clickNamed("acceptButton"));
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
    QTRY_VERIFY_WITH_TIMEOUT(recordNamed(_record), boundMs);
}

void tst_with_display::aFileDroppedOnTheTabForFilesIsLoaded()
{
    QVERIFY(click([this] { return _window->withText("CSV FILE"); }));
    dropFileOn("fileDropArea", "Drop to load CSV file", [this] { return shows("recordNameText", _csv); });
    QTRY_VERIFY_WITH_TIMEOUT(shows("filePathField", _csv), boundMs);
    QTRY_VERIFY_WITH_TIMEOUT(_window->named("recordSlider"), boundMs);
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
