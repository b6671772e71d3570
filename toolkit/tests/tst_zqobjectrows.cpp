// SPDX-License-Identifier: Apache-2.0
#include <zqobjectrows.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include <array>
#include <utility>

/// More than two blocks full, so that edits cross from one into another.
using Objects = std::array<QObject, 700>;

class TestZqObjectRows : public QObject
{
    Q_OBJECT

    Objects _objects;

    /// Compares every answer with what a scan of the plain list gives.
    static void compare(const ZqObjectRows& rows, const QList<QObject*>& expected, Objects& objects)
    {
        QCOMPARE(rows.size(), expected.size());
        QCOMPARE(rows.objects(), expected);
        QHash<QObject*, QList<qsizetype>> placesOf;
        for (qsizetype row = 0; row < expected.size(); ++row) {
            QCOMPARE(rows.at(row), expected.at(row));
            placesOf[expected.at(row)].append(row);
        }
        for (QObject& object : objects) {
            const QList<qsizetype> places = placesOf.value(&object);
            QCOMPARE(rows.occurrences(&object), places.size());
            QCOMPARE(rows.firstRow(&object), places.isEmpty() ? -1 : places.first());
            QCOMPARE(rows.rows(&object), places);
        }
    }

private slots:
    void anEmptyListKnowsNoObject()
    {
        const QObject stranger;
        const ZqObjectRows rows;
        QCOMPARE(rows.firstRow(&stranger), -1);
        QCOMPARE(rows.firstRow(nullptr), -1);
        QCOMPARE(rows.rows(&stranger), QList<qsizetype>());
    }

    void everyAnswerEqualsThatOfAScanUnderRandomEdits_data()
    {
        QTest::addColumn<bool>("withDuplicates");
        QTest::addColumn<int>("questionsEvery");
        // Asking rarely lets edits pile up between two numberings.
        for (const int every : { 5, 97 }) {
            QTest::addRow("distinct, asked every %d", every) << false << every;
            QTest::addRow("duplicates, asked every %d", every) << true << every;
        }
    }

    void everyAnswerEqualsThatOfAScanUnderRandomEdits()
    {
        QFETCH(bool, withDuplicates);
        QFETCH(int, questionsEvery);
        Objects& objects = _objects;
        QRandomGenerator random(20261121);
        ZqObjectRows rows;
        QList<QObject*> expected;
        for (size_t i = 0; i < 600; ++i) {
            expected.append(&objects[i]);
        }
        rows.append(expected);
        for (int step = 0; step < 3000; ++step) {
            const auto below = [&random](qsizetype bound) { return static_cast<qsizetype>(random.bounded(bound)); };
            QObject* const object = &objects.at(static_cast<size_t>(below(700)));
            const bool mayAdd = withDuplicates ? expected.size() < 900 : !expected.contains(object);
            switch (below(7)) {
            case 0:
            case 1:
                if (mayAdd) {
                    rows.insert(rows.size(), object);
                    expected.append(object);
                }
                break;
            case 2:
                if (mayAdd) {
                    rows.insert(0, object);
                    expected.prepend(object);
                }
                break;
            case 3:
                if (mayAdd) {
                    const qsizetype row = below(expected.size() + 1);
                    rows.insert(row, object);
                    expected.insert(row, object);
                }
                break;
            case 4:
                if (!expected.isEmpty()) {
                    const qsizetype row = below(expected.size());
                    QCOMPARE(rows.take(row, 1), QList<QObject*> { expected.takeAt(row) });
                }
                break;
            case 5:
                if (!expected.isEmpty()) {
                    const qsizetype row = below(expected.size());
                    const qsizetype most = below(20) == 0 ? 400 : 3;
                    const qsizetype count = 1 + below(qMin<qsizetype>(most, expected.size() - row));
                    QCOMPARE(rows.objects(row, count), expected.mid(row, count));
                    QCOMPARE(rows.take(row, count), expected.mid(row, count));
                    expected.remove(row, count);
                }
                break;
            default:
                if (expected.size() > 4) {
                    rows.move(1, 2, 4);
                    expected.move(3, 1);
                }
                break;
            }
            if (step % questionsEvery == 0) {
                compare(rows, expected, objects);
                if (QTest::currentTestFailed()) {
                    return;
                }
            }
        }
        rows.clear();
        expected.clear();
        compare(rows, expected, objects);
    }

    void everyEditIsCounted()
    {
        ZqObjectRows rows;
        unsigned before = rows.edits();
        const auto wasCounted = [&] { return std::exchange(before, rows.edits()) != rows.edits(); };
        QObject a;
        QObject b;
        rows.append({ &a, &b });
        QVERIFY(wasCounted());
        rows.move(0, 1, 2);
        QVERIFY(wasCounted());
        QCOMPARE(rows.take(0, 1), QList<QObject*> { &b });
        QVERIFY(wasCounted());
        rows.insert(0, &b);
        QVERIFY(wasCounted());
        QCOMPARE(rows.objects(0, 2), (QList<QObject*> { &b, &a }));
        QVERIFY(!wasCounted());
        rows.clear();
        QVERIFY(wasCounted());
    }

    void aRemovedObjectIsNeverReadAgain()
    {
        ZqObjectRows rows;
        auto* gone = new QObject;
        QObject stays;
        rows.append({ gone, &stays });
        delete gone;
        QCOMPARE(rows.firstRow(gone), 0);
        rows.take(0, 1);
        QCOMPARE(rows.firstRow(gone), -1);
        QCOMPARE(rows.firstRow(&stays), 0);
    }
};

QTEST_APPLESS_MAIN(TestZqObjectRows)
#include "tst_zqobjectrows.moc"
