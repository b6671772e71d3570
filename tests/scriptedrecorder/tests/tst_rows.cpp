// SPDX-License-Identifier: Apache-2.0
#include "rows.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

class TestRows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rowsAreTheSameInWhateverPiecesTheyAreMade()
    {
        const QByteArray all = GeneratedRows::range(0, 250);
        QCOMPARE(GeneratedRows::range(0, 99) + '\n' + GeneratedRows::range(99, 151), all);
        QCOMPARE(all.count('\n'), 249);
        QCOMPARE(all.split('\n').at(201), "pump 5;201000;output;pressure;double;25.125");
        QCOMPARE(all.split('\n').at(200), "pump 4;200000;output;remark;string;\"größer; \"\"200\"\"\"");
        QCOMPARE(GeneratedRows::range(201, 1, 10).size(), all.split('\n').at(201).size() + 10);
    }

    void theDigestDoesNotDependOnThePiecesNorOnDoubledLineEnds()
    {
        const RowDigest expected = RowDigest::ofGenerated(25'000);
        QCOMPARE(expected.rows(), 25'000);
        RowDigest digest;
        QByteArray rows = GeneratedRows::range(0, 25'000);
        rows.replace("\n", "\n\n");
        for (qsizetype at = 0; at < rows.size(); at += 999) {
            digest.add(QByteArrayView(rows).sliced(at, std::min<qsizetype>(999, rows.size() - at)));
        }
        digest.finish();
        QCOMPARE(digest.rows(), expected.rows());
        QCOMPARE(digest.bytes(), expected.bytes());
        QCOMPARE(digest.hex(), expected.hex());
    }

    void theDigestTellsAChangedAMissingAndASwappedRow()
    {
        const QByteArray rows = GeneratedRows::range(0, 3);
        const QList<QByteArray> lines = rows.split('\n');
        const QByteArray digest = _digestOf(rows);
        QVERIFY(_digestOf(QByteArray(rows).replace("0.125", "0.126")) != digest);
        QVERIFY(_digestOf(lines.at(0) + '\n' + lines.at(1)) != digest);
        QVERIFY(_digestOf(lines.at(1) + '\n' + lines.at(0) + '\n' + lines.at(2)) != digest);
    }

    void aFileOfRowsHasTheirDigest()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("rows.csv"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(GeneratedRows::write(file, 25'000));
        file.close();
        QCOMPARE(RowDigest::ofFile(file.fileName()).hex(), RowDigest::ofGenerated(25'000).hex());
        QVERIFY(RowDigest::ofFile(file.fileName()).hex() != RowDigest::ofGenerated(25'000, 1).hex());
    }

private:
    static QByteArray _digestOf(const QByteArray& rows)
    {
        RowDigest digest;
        digest.add(rows);
        digest.finish();
        return digest.hex();
    }
};

QTEST_APPLESS_MAIN(TestRows)
#include "tst_rows.moc"
