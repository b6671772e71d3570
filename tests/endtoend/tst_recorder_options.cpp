// SPDX-License-Identifier: Apache-2.0
#include <corvaneutils.h>
#include <recorderoptions.h>

#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtTest/QTest>

// A recorder's options stand in the program, in the framework, which edits launch lines, and in the module, which reads
// and writes settings: an option that one of them does not know makes a setting vanish without a word.
class TestRecorderOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theFrameworkKnowsEveryOptionWithAValue();
    void theModuleKnowsOptionsOfTheProgramOnly_data();
    void theModuleKnowsOptionsOfTheProgramOnly();

private:
    QStringList _flags;
    QStringList _withValue;
};

void TestRecorderOptions::initTestCase()
{
    // "  -c, --cassandra <host:port>   text", "  --help   text"
    QProcess program;
    program.start(QStringLiteral(RR_RECORDER), { "--help" });
    QVERIFY2(program.waitForFinished(), qPrintable(program.errorString()));
    static const QRegularExpression OPTION("^  (?:(-\\w), )?(--[\\w-]+)( <)?", QRegularExpression::MultilineOption);
    const QString help = QString::fromUtf8(program.readAllStandardOutput());
    for (const QRegularExpressionMatch& match : OPTION.globalMatch(help)) {
        QStringList& options = match.hasCaptured(3) ? _withValue : _flags;
        options.append(match.captured(2));
        if (match.hasCaptured(1)) {
            options.append(match.captured(1));
        }
    }
    QVERIFY2(_flags.contains("--help") && _withValue.contains("--name"), qPrintable(help));
}

void TestRecorderOptions::theFrameworkKnowsEveryOptionWithAValue()
{
    QStringList known = CorvaneUtils::recorderOptionsWithValue();
    known.sort();
    _withValue.sort();
    QCOMPARE(known, _withValue);
}

void TestRecorderOptions::theModuleKnowsOptionsOfTheProgramOnly_data()
{
    QTest::addColumn<QString>("longName");
    QTest::addColumn<QString>("shortName");
    QTest::addColumn<bool>("hasValue");
    const auto add = [](QLatin1StringView longName, QLatin1StringView shortName, bool hasValue) {
        QTest::newRow(longName.data()) << QString(longName) << QString(shortName) << hasValue;
    };
    add(RECORDER_NAME_LONG_OPTION_NAME, RECORDER_NAME_SHORT_OPTION_NAME, true);
    add(RECORDER_CASSANDRA_LONG_OPTION_NAME, RECORDER_CASSANDRA_SHORT_OPTION_NAME, true);
    add(RECORDER_KEYSPACE_LONG_OPTION_NAME, RECORDER_KEYSPACE_SHORT_OPTION_NAME, true);
    add(RECORDER_USERNAME_LONG_OPTION_NAME, RECORDER_USERNAME_SHORT_OPTION_NAME, true);
    add(RECORDER_PASSWORD_LONG_OPTION_NAME, RECORDER_PASSWORD_SHORT_OPTION_NAME, true);
    add(RECORDER_VERBOSE_LONG_OPTION_NAME, RECORDER_VERBOSE_SHORT_OPTION_NAME, false);
    add(RECORDER_PRIVATECERT_LONG_OPTION_NAME, RECORDER_PRIVATECERT_SHORT_OPTION_NAME, true);
    add(RECORDER_PUBLICCERTS_LONG_OPTION_NAME, RECORDER_PUBLICCERTS_SHORT_OPTION_NAME, true);
    add(RECORDER_TIMESTAMPED_REPLAY_LONG_OPTION_NAME, RECORDER_TIMESTAMPED_REPLAY_SHORT_OPTION_NAME, false);
}

void TestRecorderOptions::theModuleKnowsOptionsOfTheProgramOnly()
{
    QFETCH(QString, longName);
    QFETCH(QString, shortName);
    QFETCH(bool, hasValue);
    const QStringList& options = hasValue ? _withValue : _flags;
    QVERIFY2(options.contains("--" + longName), qPrintable(longName));
    QVERIFY2(options.contains("-" + shortName), qPrintable(shortName));
}

QTEST_GUILESS_MAIN(TestRecorderOptions)
#include "tst_recorder_options.moc"
