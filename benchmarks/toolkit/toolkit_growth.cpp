// SPDX-License-Identifier: Apache-2.0
// What an item costs in a list of 1,000, 10,000 and 100,000: a cost that stays the same says that the whole is linear.
// Every figure is the best of several rounds. Qt's own proxy sorts the same list as a peer. A word on the command line
// runs the measures that have it in their name.
#include <zqcustomitemlistmodel.h>
#include <zqsortfilterproxymodel.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSortFilterProxyModel>
#include <QtCore/QTextStream>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

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

namespace {

using List = ZqCustomItemListModel<Row>;
constexpr std::array<int, 3> SIZES { 1000, 10000, 100000 };

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

/// Nanoseconds that `work` takes.
double timed(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed());
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
    };
    constexpr std::array measures {
        Measure { "append, one by one (an item)", appendOneByOne },
        Measure { "append, one batch (an item)", appendBatch },
        Measure { "change of a property (a change)", changeAlone },
        Measure { "change under a sorted view (a change)", changeUnderView },
        Measure { "destroy in order (an item)", destroyInOrder },
        Measure { "destroy in any order (an item)", destroyInAnyOrder },
        Measure { "destroy in any order under a view (an item)", destroyUnderView },
        Measure { "clear (an item)", clearList },
        Measure { "batch into a sorted view (an item)", batchIntoView },
        Measure { "sort (an item and power of two)", sortView },
        Measure { "sort, Qt's own proxy (the same)", sortPeer },
    };
    QTextStream out(stdout);
    out << QStringLiteral("%1%2%3%4%5\n")
               .arg(QStringLiteral("nanoseconds"), -46)
               .arg(SIZES[0], 10)
               .arg(SIZES[1], 10)
               .arg(SIZES[2], 10)
               .arg(QStringLiteral("last/first"), 12);
    for (const Measure& measure : measures) {
        if (argc > 1 && !QByteArray(measure.name).contains(argv[1])) {
            continue;
        }
        std::array<double, SIZES.size()> best {};
        for (size_t i = 0; i < SIZES.size(); ++i) {
            best[i] = measure.measure(SIZES[i]);
            for (int round = 1; round < 3; ++round) {
                best[i] = std::min(best[i], measure.measure(SIZES[i]));
            }
        }
        out << QStringLiteral("%1%2%3%4%5\n")
                   .arg(QLatin1String(measure.name), -46)
                   .arg(best[0], 10, 'f', 1)
                   .arg(best[1], 10, 'f', 1)
                   .arg(best[2], 10, 'f', 1)
                   .arg(best[2] / best[0], 12, 'f', 2);
        out.flush();
    }
    return 0;
}

#include "toolkit_growth.moc"
