// SPDX-License-Identifier: Apache-2.0
#include "rotatinglog.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

using launcher::RotatingLog;

class TestRotatingLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        _folder = std::make_unique<QTemporaryDir>();
        QVERIFY(_folder->isValid());
        _path = _folder->filePath("agent.log");
    }

    void whatIsWrittenStandsThere();
    void filesAreBoundedAndTheOldestGoes();
    void linesAreNotCutInTwo();
    void oneFileAloneBeginsAnew();
    void itGoesOnWhereTheLastOneEnded();
    void onlyTheUserMayReadIt();
    void aDiskThatTakesNothingIsSaidLater();
    void theLastLinesAreKnown();

private:
    QByteArray _content(int number = 0) const
    {
        QFile file(RotatingLog::rotatedPath(_path, number));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }
    std::unique_ptr<QTemporaryDir> _folder;
    QString _path;
};

void TestRotatingLog::whatIsWrittenStandsThere()
{
    RotatingLog log(_path, 100, 3);
    log.write("one\n");
    log.write("two\n");
    QCOMPARE(_content(), "one\ntwo\n");
    QCOMPARE(_content(1), "(none)");
}

void TestRotatingLog::filesAreBoundedAndTheOldestGoes()
{
    RotatingLog log(_path, 10, 3);
    for (char letter = 'a'; letter <= 'f'; ++letter) {
        log.write(QByteArray(6, letter) + '\n');
    }
    QCOMPARE(_content(0), "ffffff\n");
    QCOMPARE(_content(1), "eeeeee\n");
    QCOMPARE(_content(2), "dddddd\n");
    QCOMPARE(QDir(_folder->path()).entryList(QDir::Files).size(), 3);
    // One piece of many files' size
    log.write(QByteArray(1005, 'x') + '\n');
    QCOMPARE(QDir(_folder->path()).entryList(QDir::Files).size(), 3);
    for (int number = 0; number < 3; ++number) {
        QVERIFY(_content(number).size() <= 10);
    }
    QVERIFY(_content().endsWith("x\n"));
}

void TestRotatingLog::linesAreNotCutInTwo()
{
    RotatingLog log(_path, 10, 4);
    log.write("12\n45\n78\nabcdef\nghi\n");
    QCOMPARE(_content(2), "12\n45\n78\n");
    QCOMPARE(_content(1), "abcdef\n");
    QCOMPARE(_content(0), "ghi\n");
}

void TestRotatingLog::oneFileAloneBeginsAnew()
{
    RotatingLog log(_path, 10, 1);
    log.write("123456789\n");
    log.write("new\n");
    QCOMPARE(_content(), "new\n");
    QCOMPARE(QDir(_folder->path()).entryList(QDir::Files).size(), 1);
}

void TestRotatingLog::itGoesOnWhereTheLastOneEnded()
{
    RotatingLog(_path, 10, 2).write("12345\n");
    RotatingLog log(_path, 10, 2);
    log.write("678\n");
    QCOMPARE(_content(), "12345\n678\n");
    log.write("9\n");
    QCOMPARE(_content(1), "12345\n678\n");
    QCOMPARE(_content(), "9\n");
}

void TestRotatingLog::onlyTheUserMayReadIt()
{
    RotatingLog(_path, 10, 2).write("secret\n");
    QVERIFY(!(QFile::permissions(_path) & (QFileDevice::ReadGroup | QFileDevice::ReadOther)));
}

void TestRotatingLog::aDiskThatTakesNothingIsSaidLater()
{
    const QString place = _folder->filePath("later");
    _path = place + "/agent.log";
    RotatingLog log(_path, 1000, 2);
    log.write("12345\n");
    log.write("678\n");
    QVERIFY(QDir().mkdir(place));
    log.write("now\n");
    QCOMPARE(_content(), "[10 bytes of output could not be written here]\nnow\n");
    QCOMPARE(log.tail(), "12345\n678\nnow\n");
}

void TestRotatingLog::theLastLinesAreKnown()
{
    RotatingLog log(_path, 1'000'000, 2);
    QCOMPARE(log.tail(), "");
    log.write("one\ntwo");
    QCOMPARE(log.tail(), "one\ntwo");
    for (int i = 0; i < 1000; ++i) {
        log.write("line " + QByteArray::number(i) + "\n");
    }
    QVERIFY(log.tail().size() <= RotatingLog::TAIL_BYTES);
    QVERIFY(log.tail().size() > RotatingLog::TAIL_BYTES - 20);
    QVERIFY(log.tail().startsWith("line "));
    QVERIFY(log.tail().endsWith("line 999\n"));
    log.write(QByteArray(5000, 'y'));
    QCOMPARE(log.tail(), QByteArray(RotatingLog::TAIL_BYTES, 'y'));
}

QTEST_GUILESS_MAIN(TestRotatingLog)
#include "tst_launcher_rotatinglog.moc"
