// SPDX-License-Identifier: Apache-2.0
#include <zqmergesort.h>

#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include <algorithm>
#include <cmath>

class TestZqMergeSort : public QObject
{
    Q_OBJECT

private slots:
    void everySizeUpToAHundredIsSortedStably()
    {
        QRandomGenerator random(4711);
        for (int size = 0; size <= 100; ++size) {
            QList<std::pair<int, int>> values;
            for (int i = 0; i < size; ++i) {
                values.append({ static_cast<int>(random.bounded(7)), i });
            }
            QList<std::pair<int, int>> expected = values;
            std::sort(expected.begin(), expected.end());
            zqMergeSort(values, [](const auto& left, const auto& right) { return left.first < right.first; });
            QCOMPARE(values, expected);
        }
    }

    void aSortedListCostsOneQuestionANeighbour()
    {
        QList<int> values(1000);
        std::iota(values.begin(), values.end(), 0);
        int questions = 0;
        zqMergeSort(values, [&questions](int left, int right) {
            ++questions;
            return left < right;
        });
        QCOMPARE(questions, 999);
    }

    void questionsGrowAsNLogN_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("1000") << 1000;
        QTest::newRow("10000") << 10000;
        QTest::newRow("100000") << 100000;
    }

    void questionsGrowAsNLogN()
    {
        QFETCH(int, size);
        QRandomGenerator random(1);
        QList<quint32> values(size);
        random.fillRange(values.data(), values.size());
        qint64 questions = 0;
        zqMergeSort(values, [&questions](quint32 left, quint32 right) {
            ++questions;
            return left < right;
        });
        QVERIFY(std::is_sorted(values.cbegin(), values.cend()));
        // One more a merge at most, to find runs that already follow one another.
        QVERIFY(questions <= static_cast<qint64>(size * (std::ceil(std::log2(size)) + 1)));
    }

    void aComparatorThatAnswersAtRandomLosesAndDoublesNothing()
    {
        QRandomGenerator random(99);
        for (int round = 0; round < 200; ++round) {
            const int size = static_cast<int>(random.bounded(200));
            QList<int> values(size);
            std::iota(values.begin(), values.end(), 0);
            zqMergeSort(values, [&random](int, int) { return random.bounded(2) == 1; });
            QCOMPARE(values.size(), size);
            std::sort(values.begin(), values.end());
            for (int i = 0; i < size; ++i) {
                QCOMPARE(values.at(i), i);
            }
        }
    }

    void aComparatorThatIsNoOrderStillLeavesNoNeighboursTheWrongWayRound()
    {
        // Each beats the next of a circle of seven: no order can satisfy it.
        const auto beats = [](int left, int right) { return (right % 7) == (left % 7 + 1) % 7; };
        QRandomGenerator random(5);
        for (int round = 0; round < 200; ++round) {
            QList<int> values;
            for (int i = 0; i < 60; ++i) {
                values.append(static_cast<int>(random.bounded(1000)));
            }
            zqMergeSort(values, beats);
            for (int i = 1; i < values.size(); ++i) {
                QVERIFY(!beats(values.at(i), values.at(i - 1)));
            }
        }
    }
};

QTEST_APPLESS_MAIN(TestZqMergeSort)
#include "tst_zqmergesort.moc"
