// SPDX-License-Identifier: Apache-2.0
// What an item costs in a list of 1,000, 10,000 and 100,000: a cost that stays the same says that the whole is linear.
// What fits no cache costs more in any case: beside an item's growth stands that of its peer, the least that it takes
// to follow the same objects, or Qt's own proxy on the same list. A word on the command line runs the measures that
// have it in their name, and those they are compared with; a number behind it is that of the rounds.
#include "measures.h"

#include <zqcustomitemlistmodel.h>
#include <zqsortfilterproxymodel.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaMethod>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSortFilterProxyModel>

using namespace Measures;

class Row : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int rank READ rank WRITE setrank NOTIFY rankChanged)
    Q_PROPERTY(int other READ rank NOTIFY otherChanged)

public:
    explicit Row(int rank)
        : _rank(rank)
    {
    }
    int rank() const { return _rank; }
    void setrank(int rank)
    {
        _rank = rank;
        emit rankChanged();
    }

signals:
    void rankChanged();
    void otherChanged();

private:
    int _rank;
};

class ByRank : public ZqSortFilterProxyModel
{
    Q_OBJECT

public:
    bool isLessThan(QObject* left, int, QObject* right, int) const override
    {
        return qobject_cast<Row*>(left)->rank() < qobject_cast<Row*>(right)->rank();
    }
};

/// The same order through Qt's proxy.
class PeerByRank : public QSortFilterProxyModel
{
    Q_OBJECT

protected:
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override
    {
        const auto* list = static_cast<const ZqCustomItemListModel<Row>*>(sourceModel());
        return qobject_cast<Row*>(list->itemAt(left.row()))->rank()
            < qobject_cast<Row*>(list->itemAt(right.row()))->rank();
    }
};

/// The least that it takes to follow objects: for each a receiver of its notifications, found by its address, and word
/// of its end.
class Followers : public QObject
{
    Q_OBJECT

public:
    ~Followers() override { qDeleteAll(_receivers); }

    bool isEmpty() const { return _receivers.isEmpty(); }

    void add(QObject* object)
    {
        static const int signal = QMetaMethod::fromSignal(&QObject::objectNameChanged).methodIndex();
        static const int end = QMetaMethod::fromSignal(&QObject::destroyed).methodIndex();
        static const int slot = QObject::staticMetaObject.indexOfSlot("deleteLater()");
        static const int forget = staticMetaObject.indexOfSlot("_forget(QObject*)");
        auto* const receiver = new QObject;
        _receivers.insert(object, receiver);
        for (int connection = 0; connection < 3; ++connection) {
            QMetaObject::connect(object, signal, receiver, slot);
        }
        QMetaObject::connect(object, end, this, forget);
    }

    void remove(QObject* object)
    {
        delete _receivers.take(object);
        disconnect(object, nullptr, this, nullptr);
    }

private slots:
    void _forget(QObject* object) { delete _receivers.take(object); }

private:
    QHash<const QObject*, QObject*> _receivers;
};

namespace {

using List = ZqCustomItemListModel<Row>;

QList<Row*> newRows(int count)
{
    QRandomGenerator random(1121);
    QList<Row*> rows;
    rows.reserve(count);
    for (int i = 0; i < count; ++i) {
        rows.append(new Row(static_cast<int>(random.bounded(1 << 30))));
    }
    return rows;
}

QList<Row*> shuffled(QList<Row*> rows)
{
    QRandomGenerator random(7);
    std::shuffle(rows.begin(), rows.end(), random);
    return rows;
}

double connectPeers(int size)
{
    const QList<Row*> rows = newRows(size);
    Followers followers;
    const double time = timed([&] {
        for (Row* row : rows) {
            followers.add(row);
        }
    });
    qDeleteAll(rows);
    return time / size;
}

double destroyPeers(const QList<Row*>& rows, const QList<Row*>& doomed)
{
    Followers followers;
    for (Row* row : rows) {
        followers.add(row);
    }
    const double time = timed([&doomed] { qDeleteAll(doomed); });
    return followers.isEmpty() ? time / static_cast<double>(rows.size()) : NAN;
}

double destroyPeersInOrder(int size)
{
    const QList<Row*> rows = newRows(size);
    return destroyPeers(rows, rows);
}

double destroyPeersInAnyOrder(int size)
{
    const QList<Row*> rows = newRows(size);
    return destroyPeers(rows, shuffled(rows));
}

double disconnectPeers(int size)
{
    const QList<Row*> rows = newRows(size);
    Followers followers;
    for (Row* row : rows) {
        followers.add(row);
    }
    const double time = timed([&] {
        for (Row* row : rows) {
            followers.remove(row);
        }
    });
    qDeleteAll(rows);
    return followers.isEmpty() ? time / size : NAN;
}

double appendOneByOne(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    const double time = timed([&] {
        for (Row* row : rows) {
            list.appendRow(row);
        }
    });
    list.clear();
    qDeleteAll(rows);
    return time / size;
}

double appendBatch(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    const double time = timed([&] { list.appendRows(rows); });
    list.clear();
    qDeleteAll(rows);
    return time / size;
}

/// One change at a time of a few items that stand anywhere, with a listener; `withView` adds a sorted view.
double change(int size, bool withView)
{
    const QList<Row*> rows = newRows(size);
    List list;
    list.appendRows(rows);
    ByRank view;
    if (withView) {
        view.setSourceModel(&list);
    }
    qint64 heard = 0;
    QObject::connect(&list, &List::dataChanged, &list, [&heard](const QModelIndex& index) { heard += index.row(); });
    const QList<Row*> changed = shuffled(rows).first(100);
    double best = 1e18;
    for (int round = 0; round < 50; ++round) {
        best = std::min(best, timed([&changed] {
            for (Row* row : changed) {
                row->setrank(row->rank());
            }
        }));
    }
    list.clear();
    qDeleteAll(rows);
    return heard > 0 ? best / static_cast<double>(changed.size()) : NAN;
}

double changeAlone(int size)
{
    return change(size, false);
}

double changeUnderView(int size)
{
    return change(size, true);
}

double destroyInAnyOrder(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    list.appendRows(rows);
    const QList<Row*> doomed = shuffled(rows);
    const double time = timed([&doomed] { qDeleteAll(doomed); });
    return list.isEmpty() ? time / size : NAN;
}

double destroyInOrder(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    list.appendRows(rows);
    const double time = timed([&rows] { qDeleteAll(rows); });
    return list.isEmpty() ? time / size : NAN;
}

double destroyUnderView(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    list.appendRows(rows);
    ByRank view;
    view.setSourceModel(&list);
    const QList<Row*> doomed = shuffled(rows);
    const double time = timed([&doomed] { qDeleteAll(doomed); });
    return view.count() == 0 ? time / size : NAN;
}

double removeScatteredUnderView(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    list.appendRows(rows);
    ByRank view;
    view.setSourceModel(&list);
    const double time = timed([&] {
        for (int i = 0; i < size; i += 2) {
            list.removeObject(rows.at(i));
        }
    });
    const bool isRight = view.count() == size / 2;
    view.setSourceModel(nullptr);
    list.clear();
    qDeleteAll(rows);
    return isRight ? 2 * time / size : NAN;
}

double clearList(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    list.appendRows(rows);
    const double time = timed([&list] { list.clear(); });
    qDeleteAll(rows);
    return time / size;
}

double sortView(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    list.appendRows(rows);
    ByRank view;
    const double time = timed([&] { view.setSourceModel(&list); });
    const bool isSorted = view.count() == size
        && qobject_cast<Row*>(view.get(0))->rank() <= qobject_cast<Row*>(view.get(size - 1))->rank();
    view.setSourceModel(nullptr);
    list.clear();
    qDeleteAll(rows);
    return isSorted ? time / size / std::log2(size) : NAN;
}

double sortPeer(int size)
{
    const QList<Row*> rows = newRows(size);
    List list;
    list.appendRows(rows);
    PeerByRank view;
    const double time = timed([&] {
        view.setSourceModel(&list);
        view.sort(0);
    });
    view.setSourceModel(nullptr);
    list.clear();
    qDeleteAll(rows);
    return time / size / std::log2(size);
}

double batchIntoView(int size)
{
    const QList<Row*> rows = newRows(2 * size);
    List list;
    list.appendRows(rows.first(size));
    ByRank view;
    view.setSourceModel(&list);
    const double time = timed([&] { list.appendRows(rows.last(size)); });
    view.setSourceModel(nullptr);
    list.clear();
    qDeleteAll(rows);
    return time / size;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    struct Measure
    {
        const char* name;
        double (*measure)(int);
        /// The measure, before this one, whose growth is allowed; none: no growth is.
        int peer = -1;
        double goal = 0.0;
        Series times = {};
        /// Of each round, beside the peer's.
        std::vector<double> growths = {};
    };
    std::vector<Measure> measures {
        { "peer: follow (an object)", connectPeers },
        { "peer: destroy in order (an object)", destroyPeersInOrder },
        { "peer: destroy in any order (an object)", destroyPeersInAnyOrder },
        { "peer: follow no more (an object)", disconnectPeers },
        { "append, one by one (an item)", appendOneByOne, 0, 1.5 },
        { "append, one batch (an item)", appendBatch, 0, 1.5 },
        { "change of a property (a change)", changeAlone, -1, 1.5 },
        { "change under a sorted view (a change)", changeUnderView, -1, 1.5 },
        { "destroy in order (an item)", destroyInOrder, 1, 1.5 },
        { "destroy in any order (an item)", destroyInAnyOrder, 2, 1.5 },
        { "destroy in any order under a view (an item)", destroyUnderView, 2, 1.5 },
        { "remove every second item under a view (an item)", removeScatteredUnderView, 3, 1.5 },
        { "clear (an item)", clearList, 3, 1.5 },
        { "peer: sort by Qt's own proxy (an item and power of two)", sortPeer },
        { "sort (an item and power of two)", sortView, 13, 1.5 },
        { "batch into a sorted view (an item)", batchIntoView, 13, 1.5 },
    };
    std::vector<bool> isWanted(measures.size(), argc < 2);
    for (size_t i = 0; i < measures.size(); ++i) {
        if (argc > 1 && QByteArray(measures[i].name).contains(argv[1])) {
            isWanted[i] = true;
            if (measures[i].peer >= 0) {
                isWanted[static_cast<size_t>(measures[i].peer)] = true;
            }
        }
    }

    const int rounds = argc > 2 ? QByteArray(argv[2]).toInt() : 5;
    for (int round = 0; round < rounds; ++round) {
        std::vector<double> growths(measures.size());
        for (size_t i = 0; i < measures.size(); ++i) {
            if (!isWanted[i]) {
                continue;
            }
            Measure& measure = measures[i];
            std::array<double, SIZES.size()> times {};
            for (size_t size = 0; size < SIZES.size(); ++size) {
                const int repeats = std::min(20, SIZES.back() / SIZES.at(size));
                for (int repeat = 0; repeat < repeats; ++repeat) {
                    times.at(size) += measure.measure(SIZES.at(size)) / repeats;
                }
                must(!std::isnan(times.at(size)), measure.name);
                measure.times.add(size, times.at(size));
            }
            growths[i] = times.back() / times.front();
            measure.growths.push_back(
                growths[i] / (measure.peer < 0 ? 1.0 : growths[static_cast<size_t>(measure.peer)]));
        }
    }

    printHead("nanoseconds, medians; growth beside the peer's", "growth");
    for (size_t i = 0; i < measures.size(); ++i) {
        if (isWanted[i]) {
            Measure& measure = measures[i];
            printLine(measure.name, measure.times.medians(), median(measure.growths),
                measure.goal > 0.0 ? std::optional(measure.goal) : std::nullopt);
        }
    }
    return 0;
}

#include "toolkit_growth.moc"
