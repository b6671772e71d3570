// SPDX-License-Identifier: Apache-2.0
// The module's pages with 100,000 records in the list and 500 agents in a filter: opening, scrolling, sorting. Every
// figure stands beside its limit; framewatch.h says what the work of a frame is.
//   bench_pages [records [agents [rounds]]]
#include "framewatch.h"
#include "measures.h"
#include "pages.h"
#include "pagesprogram.h"
#include "qmlsortfilterrecords.h"

#include <QtCore/QRandomGenerator>
#include <QtGui/QWheelEvent>

#include <functional>
#include <optional>

using namespace Measures;

namespace {

constexpr double OPENING_LIMIT_MS = 300;
constexpr double SORTING_LIMIT_MS = 300;
constexpr double FRAME_LIMIT_MS = 16;
constexpr double ENDING_LIMIT_MS = 1000;

double longest(const std::vector<double>& values)
{
    return values.empty() ? NAN : *std::max_element(values.begin(), values.end());
}

QString listOfRecords(int count)
{
    QRandomGenerator random(1121);
    QStringList elements;
    elements.reserve(count);
    for (int i = 0; i < count; ++i) {
        const QDateTime start(
            QDate(2020, 1, 1).addDays(random.bounded(2500)), QTime::fromMSecsSinceStartOfDay(random.bounded(86400000)));
        const qint64 milliseconds = 1000 + random.bounded(7200000);
        const QString format = QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz");
        elements.append(recordJson(QUuid::createUuid().toString(QUuid::WithoutBraces),
            QStringLiteral("%1 Night shift of line %2").arg(start.toString("dd/MM/yy - hh:mm:ss")).arg(i % 7),
            milliseconds * 1000, start.toString(format), start.addMSecs(milliseconds).toString(format)));
    }
    return u'[' + elements.join(u',') + u']';
}

QString listOfAgents(int count)
{
    QStringList names;
    for (int i = 0; i < count; ++i) {
        names.append(QStringLiteral("\"Valve %1 of the second line\"").arg(i, 4, 10, QChar(u'0')));
    }
    return u'[' + names.join(u',') + u']';
}

/// A window with a running recorder that has all of it.
class LargePages
{
public:
    LargePages(int records, int agents)
        : instance(pages.fixture.addRunningRecorder())
        , recorder(instance)
        , watch(pages.window)
        , _agents(listOfAgents(agents))
        , _count(records)
    {
        recorder.records(listOfRecords(records));
        must(instance->records()->count() == records, "number of records");
        watch.awaitRest();
    }

    /// Loads the record in the middle of the list.
    void load()
    {
        auto* const record = qobject_cast<RecorderRecord*>(instance->records()->itemAt(_count / 2));
        instance->loadRecord(record);
        recorder.loaded(record->uuid(), record->durationInSeconds(), _agents);
        must(record->isLoaded(), "a loaded record");
    }
    void open() { pages.module.setcurrentRecorder(instance); }
    void leave()
    {
        must(pages.isShown("configurationPage") && pages.items("recordNameText").size() > 5, "a page with its records");
        pages.module.setcurrentRecorder(nullptr);
    }
    QQuickItem* list() const { return pages.item("recordsList"); }

    Pages pages;
    RecorderInstance* instance;
    ScriptedRecorder recorder;
    FrameWatch watch;

private:
    QString _agents;
    int _count;
};

bool isMissed = false;

void print(const QString& what, double figure, double limit, const QString& beside)
{
    const bool isMet = figure <= limit;
    isMissed = isMissed || !isMet;
    out() << what.leftJustified(62) << QString::number(figure, 'f', 1).rightJustified(8) << "  limit "
          << QString::number(limit, 'f', 0).rightJustified(3) << (isMet ? ": met     " : ": MISSED  ") << beside << Qt::endl;
}

/// The whole work from a click to the frame after which nothing changes any more.
void measureOpening(const QString& what, FrameWatch& watch, int rounds, const std::function<void()>& open,
    const std::function<void()>& close)
{
    std::vector<double> works;
    std::vector<double> walls;
    std::vector<double> drawings;
    std::vector<double> firsts;
    std::vector<double> frames;
    for (int round = 0; round < rounds; ++round) {
        watch.start();
        open();
        watch.awaitRest();
        must(!watch.works().empty(), "a frame after opening");
        works.push_back(watch.sumOfWorks());
        firsts.push_back(watch.works().front());
        frames.push_back(static_cast<double>(watch.works().size()));
        walls.push_back(watch.firstFrameWallMs());
        drawings.push_back(watch.drawings().front());
        close();
        watch.awaitRest();
    }
    print(what, median(works), OPENING_LIMIT_MS,
        QStringLiteral("%4 frames, the first after %3, %1 ms of the clock; drawing %2")
            .arg(median(walls), 0, 'f', 1)
            .arg(median(drawings), 0, 'f', 1)
            .arg(median(firsts), 0, 'f', 1)
            .arg(median(frames)));
}

/// The longest frame while something is done once a frame. `step` must change what is shown.
void measureFrames(const QString& what, FrameWatch& watch, int frames, const std::function<void(int)>& step)
{
    watch.awaitRest();
    watch.start();
    for (int frame = 0; frame < frames; ++frame) {
        step(frame);
        watch.awaitFrame();
    }
    print(what, longest(watch.works()), FRAME_LIMIT_MS,
        QStringLiteral("median %1, %2 frames, drawing %3")
            .arg(median(watch.works()), 0, 'f', 1)
            .arg(watch.works().size())
            .arg(median(watch.drawings()), 0, 'f', 1));
    watch.awaitRest();
}

void turnWheel(Pages& pages, const QPoint& place, int pixels)
{
    QWheelEvent event(place, pages.window.mapToGlobal(place), QPoint(0, pixels), QPoint(0, pixels), Qt::NoButton,
        Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&pages.window, &event);
}

void press(Pages& pages, const QPoint& place)
{
    QTest::mouseClick(&pages.window, Qt::LeftButton, {}, place);
}

void measureOpenings(LargePages& large, int rounds)
{
    Pages& pages = large.pages;
    const auto leave = [&large] { large.leave(); };
    const auto close = [&pages] {
        must(pages.isShown("agentsList"), "the list of agents");
        pages.key(Qt::Key_Escape);
    };
    measureOpening("open a recorder's page", large.watch, rounds, [&] { large.open(); }, leave);
    large.load();
    measureOpening("open it with a loaded record", large.watch, rounds, [&] { large.open(); }, leave);
    large.open();
    large.watch.awaitRest();
    measureOpening("open the list of recorders", large.watch, rounds, [&] { pages.module.setcurrentRecorder(nullptr); },
        [&] { large.open(); });
    const QPoint filter = pages.middle("agentsFilter");
    measureOpening("open the agents of the filter", large.watch, rounds, [&] { press(pages, filter); }, close);
}

void measureAgents(LargePages& large)
{
    Pages& pages = large.pages;
    pages.click("agentsFilter");
    large.watch.awaitRest();
    const QPoint place = pages.middle("agentsList");
    QQuickItem* const list = pages.item("agentsList");
    measureFrames("scroll the agents with the wheel", large.watch, 120, [&](int) { turnWheel(pages, place, -120); });
    must(list->property("contentY").toDouble() > 0, "agents that moved");
    const QPoint all = pages.middle("allAgents");
    measureFrames("switch all agents", large.watch, 20, [&](int) {
        press(pages, all);
        large.recorder.reply("filter_applied");
    });
    pages.focusOn("agentsSearch");
    const QString letters = QStringLiteral("valve 01");
    measureFrames("find agents, letter by letter", large.watch, static_cast<int>(letters.size()),
        [&](int letter) {
            QTest::sendKeyEvent(QTest::Click, &pages.window, Qt::Key_unknown, letters.mid(letter, 1), Qt::NoModifier);
        });
    pages.key(Qt::Key_Escape);
    large.watch.awaitRest();
}

void measureScrolling(LargePages& large)
{
    Pages& pages = large.pages;
    QQuickItem* const list = large.list();
    const auto jumpTo = [list](double part) {
        const double begin = list->property("originY").toDouble();
        list->setProperty("contentY", begin + part * (list->property("contentHeight").toDouble() - list->height()));
    };
    const QPoint place = pages.middle("recordsList");
    jumpTo(0);
    const double begin = list->property("contentY").toDouble();
    measureFrames("scroll the records with the wheel, 100 pixels a frame", large.watch, 300,
        [&](int) { turnWheel(pages, place, -100); });
    must(list->property("contentY").toDouble() > begin + 1000, "records that moved");
    measureFrames("scroll a whole page a frame", large.watch, 200,
        [&](int) { list->setProperty("contentY", list->property("contentY").toDouble() + list->height()); });
    measureFrames("drag the bar from end to end in 200 frames", large.watch, 200,
        [&](int frame) { jumpTo((frame + 1) / 200.0); });
    measureFrames("jump anywhere", large.watch, 200,
        [&, random = QRandomGenerator(7)](int) mutable { jumpTo(random.generateDouble()); });
    pages.focusOn("recordsList");
    measureFrames("page with the keys", large.watch, 60, [&](int) { QTest::keyClick(&pages.window, Qt::Key_PageUp); });
    measureFrames("go to the end and the beginning with the keys", large.watch, 20,
        [&](int frame) { QTest::keyClick(&pages.window, frame % 2 == 0 ? Qt::Key_End : Qt::Key_Home); });
    measureFrames("play the loaded record, each frame a position", large.watch, 100, [&](int frame) {
        large.recorder.progress(large.instance->replayProgressInput(), frame * 0.1);
    });
}

void measureSorting(LargePages& large, int rounds)
{
    std::vector<double> times;
    for (int round = 0; round < rounds; ++round) {
        QmlSortFilterRecords view;
        const double begin = FrameWatch::threadMs();
        view.setSourceModel(large.instance->records());
        times.push_back(FrameWatch::threadMs() - begin);
        must(view.count() == large.instance->records()->count(), "number of rows");
    }
    print("sort the whole list", median(times), SORTING_LIMIT_MS, QString());
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    PagesProgram program(argc, argv);
    const auto argument = [argc, argv](int index, int otherwise) {
        return argc > index ? QByteArray(argv[index]).toInt() : otherwise;
    };
    const int records = argument(1, 100000);
    const int agents = argument(2, 500);
    const int rounds = argument(3, 5);
    std::optional<LargePages> large(std::in_place, records, agents);
    out() << records << " records, " << agents
          << " agents in a filter; milliseconds of the interface thread's processor time\n\n"
          << "in all, median of " << rounds << ":" << Qt::endl;
    measureSorting(*large, rounds);
    measureOpenings(*large, rounds);
    out() << "\nin the longest frame:" << Qt::endl;
    measureAgents(*large);
    measureScrolling(*large);

    out() << "\nin all:" << Qt::endl;
    const double begin = FrameWatch::threadMs();
    large.reset();
    print("end with all records", FrameWatch::threadMs() - begin, ENDING_LIMIT_MS, QString());
    out() << (isMissed ? "\nA limit is missed." : "\nAll limits are met.") << Qt::endl;
    return isMissed ? 1 : 0;
}
