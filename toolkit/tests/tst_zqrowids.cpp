// SPDX-License-Identifier: Apache-2.0
#include <zqrowids.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include <numeric>

class TestZqRowIds : public QObject
{
    Q_OBJECT

    /// Ids are taken from 0 to this.
    static constexpr int IDS = 3000;

    /// Compares every answer with what a scan of the plain list gives.
    static void compare(const ZqRowIds& rows, const QList<int>& expected)
    {
        QCOMPARE(rows.size(), expected.size());
        QCOMPARE(rows.isEmpty(), expected.isEmpty());
        QCOMPARE(rows.ids(), expected);
        std::vector<int> places(IDS, -1);
        for (int row = 0; row < expected.size(); ++row) {
            QCOMPARE(rows.at(row), expected.at(row));
            places[static_cast<size_t>(expected.at(row))] = row;
        }
        const std::vector<int> told = rows.rowsById();
        for (int id = 0; id < IDS; ++id) {
            const int place = places[static_cast<size_t>(id)];
            QCOMPARE(rows.rowOf(id), place);
            QCOMPARE(rows.contains(id), place >= 0);
            QCOMPARE(static_cast<size_t>(id) < told.size() ? told[static_cast<size_t>(id)] : -1, place);
        }
    }

private slots:
    void anEmptyListKnowsNoId()
    {
        const ZqRowIds rows;
        QCOMPARE(rows.size(), 0);
        QCOMPARE(rows.rowOf(0), -1);
        QVERIFY(!rows.contains(7));
        QCOMPARE(rows.ids(), QList<int>());
        QVERIFY(rows.rowsById().empty());
    }

    void everyAnswerEqualsThatOfAScanUnderRandomEdits_data()
    {
        QTest::addColumn<quint32>("seed");
        QTest::newRow("fixed seed") << 20261121U;
        QTest::newRow("fresh seed") << QRandomGenerator::global()->generate();
    }

    void everyAnswerEqualsThatOfAScanUnderRandomEdits()
    {
        QFETCH(quint32, seed);
        qInfo() << "seed" << seed;
        QRandomGenerator random(seed);
        const auto below = [&random](qsizetype bound) { return static_cast<qsizetype>(random.bounded(bound)); };
        ZqRowIds rows;
        QList<int> expected;
        QList<int> unused(IDS);
        std::iota(unused.begin(), unused.end(), 0);
        const auto takeUnused = [&](qsizetype count) {
            QList<int> ids;
            for (qsizetype i = qMin(count, unused.size()); i > 0; --i) {
                ids.append(unused.takeAt(below(unused.size())));
            }
            return ids;
        };
        for (int step = 0; step < 4000; ++step) {
            const qsizetype size = expected.size();
            // The places where most edits of real lists happen, and any.
            const qsizetype row = QList<qsizetype> { 0, size, below(size + 1) }.at(below(3));
            switch (below(6)) {
            case 0:
            case 1:
                for (const int id : takeUnused(1)) {
                    rows.insert(row, id);
                    expected.insert(row, id);
                }
                break;
            case 2: {
                const QList<int> ids = takeUnused(below(10) == 0 ? below(1200) : below(5));
                rows.insert(row, ids);
                expected = expected.first(row) + ids + expected.sliced(row);
                break;
            }
            case 3:
            case 4: {
                const qsizetype most = below(30) == 0 ? size - row : qMin<qsizetype>(3, size - row);
                const qsizetype count = below(most + 1);
                QCOMPARE(rows.ids(row, count), expected.mid(row, count));
                rows.remove(row, count);
                unused += expected.mid(row, count);
                expected.remove(row, count);
                break;
            }
            default:
                if (below(100) == 0) {
                    std::shuffle(expected.begin(), expected.end(), random);
                    rows.assign(expected);
                } else if (below(300) == 0) {
                    rows.clear();
                    unused += expected;
                    expected.clear();
                }
                break;
            }
            if (step % 37 == 0) {
                compare(rows, expected);
                if (QTest::currentTestFailed()) {
                    qInfo() << "at step" << step;
                    return;
                }
            }
        }
    }
};

QTEST_APPLESS_MAIN(TestZqRowIds)
#include "tst_zqrowids.moc"
