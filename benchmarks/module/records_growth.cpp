// SPDX-License-Identifier: Apache-2.0
// What a record costs when a recorder lists 1,000, 10,000 and 100,000 of them: a cost that stays the same says that the
// whole is linear. Beside it, in the same round, what the least of the work costs: Qt's reading of the text and of its
// dates, and as many objects with as many connections as a list of records has.
#include "measures.h"

#include "modulefixture.h"
#include "qmlsortfilterrecords.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QMetaMethod>
#include <QtCore/QRandomGenerator>
#include <QtWidgets/QApplication>

using namespace Measures;

namespace {

/// Hears of a bare object as a list hears of a record.
class Listener : public QObject
{
    Q_OBJECT

public slots:
    void hear() { }
};

const QString DATE_FORMAT = QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz");

struct ListedRecord
{
    QString uuid;
    QString name;
    QString startDate;
    QString endDate;
    qint64 durationInMicroseconds = 0;
};

QList<ListedRecord> newRecords(int count)
{
    QRandomGenerator random(1121);
    QList<ListedRecord> records;
    records.reserve(count);
    for (int i = 0; i < count; ++i) {
        const QDateTime start(
            QDate(2020, 1, 1).addDays(random.bounded(2500)), QTime::fromMSecsSinceStartOfDay(random.bounded(86400000)));
        const qint64 milliseconds = random.bounded(7200000);
        records.append({ QUuid::createUuid().toString(QUuid::WithoutBraces), start.toString("dd/MM/yy - hh:mm:ss"),
            start.toString(DATE_FORMAT), start.addMSecs(milliseconds).toString(DATE_FORMAT), milliseconds * 1000 });
    }
    return records;
}

/// The list as a recorder sends it; `step` 2 leaves out every second record.
QString toJson(const QList<ListedRecord>& records, int step = 1)
{
    QStringList elements;
    for (qsizetype i = 0; i < records.size(); i += step) {
        const ListedRecord& record = records.at(i);
        elements.append(
            recordJson(record.uuid, record.name, record.durationInMicroseconds, record.startDate, record.endDate));
    }
    return '[' + elements.join(',') + ']';
}

/// What every list of records connects of a record: each property's notification once, and its destruction.
int connectionsOfARecord()
{
    QSet<int> notifications;
    const QMetaObject& metaObject = RecorderRecord::staticMetaObject;
    for (int i = 0; i < metaObject.propertyCount(); ++i) {
        if (metaObject.property(i).hasNotifySignal()) {
            notifications.insert(metaObject.property(i).notifySignalIndex());
        }
    }
    return static_cast<int>(notifications.size()) + 1;
}

/// Qt takes up to half a millisecond for a date: a part of the list is enough.
double timeOfDates(const QList<ListedRecord>& records)
{
    const QList<ListedRecord> sample = records.first(std::min<qsizetype>(records.size(), 100));
    qint64 valid = 0;
    const double time = timed([&] {
        for (const ListedRecord& record : sample) {
            valid += QDateTime::fromString(record.startDate, DATE_FORMAT).isValid();
            valid += QDateTime::fromString(record.endDate, DATE_FORMAT).isValid();
        }
    });
    must(valid == 2 * sample.size(), "dates read by Qt");
    return time / static_cast<double>(sample.size()) * static_cast<double>(records.size());
}

/// What is left of reading two dates when the texts cost nothing: there is no cheaper way to a local time.
void makeDates(int count)
{
    constexpr qint64 SOME_TIME = 1'700'000'000'000;
    qint64 valid = 0;
    for (int i = 0; i < 2 * count; ++i) {
        valid += QDateTime::fromMSecsSinceEpoch(SOME_TIME + i * 100'000LL).isValid();
    }
    must(valid == 2 * count, "dates made");
}

void makeBareObjects(QObject* parent, Listener* listener, int count)
{
    static const int signal = QMetaMethod::fromSignal(&QObject::objectNameChanged).methodIndex();
    static const int slot = QMetaMethod::fromSignal(&Listener::hear).methodIndex();
    static const int connections = connectionsOfARecord();
    for (int i = 0; i < count; ++i) {
        auto* const object = new QObject(parent);
        for (int j = 0; j < connections; ++j) {
            QMetaObject::connect(object, signal, listener, slot);
        }
    }
}

void compare(AbstractZqCustomItemListModel* list, const QList<ListedRecord>& records, int step = 1)
{
    must(list->count() == (records.size() + step - 1) / step, "number of records");
    for (int row = 0; row < list->count(); ++row) {
        const auto* const record = qobject_cast<RecorderRecord*>(list->itemAt(row));
        const ListedRecord& listed = records.at(row * step);
        must(record->uuid() == listed.uuid && record->name() == listed.name
                && record->startDateTime().toString(DATE_FORMAT) == listed.startDate
                && record->endDateTime().toString(DATE_FORMAT) == listed.endDate
                && qFuzzyCompare(
                    1.0 + record->durationInSeconds(), 1.0 + static_cast<double>(listed.durationInMicroseconds) / 1e6),
            "a record");
    }
}

void compareOrder(const QmlSortFilterRecords& view, int count)
{
    must(view.count() == count, "number of rows in the view");
    for (int row = 1; row < count; ++row) {
        must(qobject_cast<RecorderRecord*>(view.get(row - 1))->startDateTime()
                >= qobject_cast<RecorderRecord*>(view.get(row))->startDateTime(),
            "order of the view");
    }
}

struct Figures
{
    Series json;
    Series dates;
    Series leastDates;
    Series objects;
    Series firstList;
    Series sameList;
    Series sorting;
    Series halfGone;
    Series halfBack;
    Series emptied;
    /// Ratios within a round.
    Series firstToParts;
    Series firstToLeastParts;
    Series sameToJson;
};

void measure(RecorderInstance* instance, const QList<ListedRecord>& records, size_t size, Figures& figures)
{
    const int count = static_cast<int>(records.size());
    const QString text = toJson(records);
    const QString halfText = toJson(records, 2);
    const QByteArray utf8 = text.toUtf8();

    const double json = timed([&] { must(QJsonDocument::fromJson(utf8).isArray(), "text"); });
    const double dates = timeOfDates(records);
    const double leastDates = timed([&] { makeDates(count); });
    double objects = 0;
    {
        Listener listener;
        QObject parent;
        objects = timed([&] { makeBareObjects(&parent, &listener, count); });
    }
    const double firstList = timed([&] { instance->updateRecords(text); });
    compare(instance->records(), records);
    const double sameList = timed([&] { instance->updateRecords(text); });
    compare(instance->records(), records);
    {
        QmlSortFilterRecords view;
        figures.sorting.add(size, timed([&] { view.setSourceModel(instance->records()); }));
        compareOrder(view, count);
        figures.halfGone.add(size, timed([&] {
            instance->updateRecords(halfText);
            ModuleFixture::settle();
        }));
        compare(instance->records(), records, 2);
        compareOrder(view, (count + 1) / 2);
        figures.halfBack.add(size, timed([&] { instance->updateRecords(text); }));
        compareOrder(view, count);
    }
    figures.emptied.add(size, timed([&] {
        instance->updateRecords(QString());
        ModuleFixture::settle();
    }));
    must(instance->records()->isEmpty(), "an emptied list");

    figures.json.add(size, json);
    figures.dates.add(size, dates);
    figures.leastDates.add(size, leastDates);
    figures.objects.add(size, objects);
    figures.firstList.add(size, firstList);
    figures.sameList.add(size, sameList);
    figures.firstToParts.add(size, firstList / (json + dates + objects));
    figures.firstToLeastParts.add(size, firstList / (json + leastDates + objects));
    figures.sameToJson.add(size, sameList / json);
}

std::array<double, SIZES.size()> eachRecord(const Series& series)
{
    std::array<double, SIZES.size()> figures {};
    for (size_t size = 0; size < SIZES.size(); ++size) {
        figures.at(size) = series.median(size) / SIZES.at(size);
    }
    return figures;
}

void printSeries(const char* name, const Series& series)
{
    const auto figures = eachRecord(series);
    printLine(name, figures, figures.back() / figures.front());
}

void printRatio(const char* name, const Series& ratios, std::optional<double> goal = {})
{
    const auto figures = ratios.medians();
    printLine(name, figures, figures.back(), goal);
}

void print(const Figures& figures)
{
    printHead("nanoseconds a record, medians", "last/first");
    printSeries("QJsonDocument::fromJson", figures.json);
    printSeries("two dates read by QDateTime::fromString", figures.dates);
    printSeries("two local times made of numbers", figures.leastDates);
    printSeries("a bare object with as many connections", figures.objects);
    printSeries("the first list", figures.firstList);
    printSeries("the same list again", figures.sameList);
    printSeries("a sorted view of it", figures.sorting);
    printSeries("every second record gone, under the view", figures.halfGone);
    printSeries("these records new, under the view", figures.halfBack);
    printSeries("no record left", figures.emptied);
    printHead("ratios within a round, medians", "last");
    printRatio("the first list / (fromJson + dates read + objects)", figures.firstToParts, 1.5);
    printRatio("the first list / (fromJson + local times made + objects)", figures.firstToLeastParts, 1.5);
    printRatio("the same list / fromJson", figures.sameToJson, 2.0);
    const size_t largest = SIZES.size() - 1;
    out() << "\nsorting " << SIZES.back() << " records: " << figures.sorting.median(largest) / 1e6
          << " ms, goal 300 ms: " << (figures.sorting.median(largest) <= 300e6 ? "met" : "MISSED") << Qt::endl;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    const int rounds = argc > 1 ? QByteArray(argv[1]).toInt() : 7;
    ModuleFixture fixture;
    RecorderInstance* const instance = fixture.addRunningRecorder();
    Figures figures;
    for (size_t size = 0; size < SIZES.size(); ++size) {
        if (argc > 2 && QByteArray(argv[2]).toInt() != SIZES.at(size)) {
            continue;
        }
        const QList<ListedRecord> records = newRecords(SIZES.at(size));
        for (int round = 0; round < rounds; ++round) {
            measure(instance, records, size, figures);
        }
    }
    print(figures);
    return 0;
}

#include "records_growth.moc"
