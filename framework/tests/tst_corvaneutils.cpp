// SPDX-License-Identifier: Apache-2.0
#include "corvaneutils.h"
#include "splitcommandline.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <quenary.h>

class TestCorvaneUtils : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void durationsAreRead_data();
    void durationsAreRead();
    void uuidsAreRecognised_data();
    void uuidsAreRecognised();
    void joinedCommandsSplitIntoTheSameParts_data();
    void joinedCommandsSplitIntoTheSameParts();
    void commandLinesAreCompared_data();
    void commandLinesAreCompared();
    void aLinkToTheProgramIsTheSameProgram();
    void maskedValuesAreSeen();
    void aMaskedLineIsTheSameOnlyAsAMaskedOne();
    void agentNamesAreCleaned_data();
    void agentNamesAreCleaned();
    void flagsAreEdited_data();
    void flagsAreEdited();
    void optionsWithValuesAreEdited_data();
    void optionsWithValuesAreEdited();
    void anEditedValueIsReadBack_data();
    void anEditedValueIsReadBack();
    void anOptionSwitchedOffLeavesTheValuesOfOthers_data();
    void anOptionSwitchedOffLeavesTheValuesOfOthers();
    void ofOtherProgramsOnlyWhatIsToldIsKnown();
};

void TestCorvaneUtils::durationsAreRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("milliseconds");
    QTest::newRow("seconds") << "7" << qint64(7000);
    QTest::newRow("seconds and fraction") << "7.25" << qint64(7250);
    QTest::newRow("one digit of fraction is tenths") << "0.5" << qint64(500);
    QTest::newRow("fraction is cut after milliseconds") << "1.0019" << qint64(1001);
    QTest::newRow("many seconds") << "75.5" << qint64(75500);
    QTest::newRow("minutes") << "02:03.004" << qint64(123004);
    QTest::newRow("many minutes") << "90:00" << qint64(5400000);
    QTest::newRow("hours") << "01:02:03.004" << qint64(3723004);
    QTest::newRow("hours without fraction") << "10:00:00" << qint64(36000000);
    QTest::newRow("many hours") << "100:00:00.000" << qint64(360000000);
    QTest::newRow("blanks around") << " 1.5 " << qint64(1500);
    QTest::newRow("zero") << "0" << qint64(0);
    QTest::newRow("empty") << "" << qint64(-1);
    QTest::newRow("word") << "soon" << qint64(-1);
    QTest::newRow("negative") << "-1" << qint64(-1);
    QTest::newRow("sixty seconds in a minute form") << "1:60" << qint64(-1);
    QTest::newRow("sixty minutes in an hour form") << "1:60:00" << qint64(-1);
    QTest::newRow("four fields") << "1:2:3:4" << qint64(-1);
    QTest::newRow("empty field") << "1::2" << qint64(-1);
    QTest::newRow("empty fraction") << "1." << qint64(-1);
    QTest::newRow("comma") << "1,5" << qint64(-1);
    QTest::newRow("foreign digits") << QString::fromUtf8("١٢") << qint64(-1);
    QTest::newRow("line end") << "1\n2" << qint64(-1);
}

void TestCorvaneUtils::durationsAreRead()
{
    QFETCH(QString, text);
    QFETCH(qint64, milliseconds);
    if (milliseconds < 0) {
        QVERIFY(CorvaneUtils::durationStringToMs(text) < 0);
    } else {
        QCOMPARE(CorvaneUtils::durationStringToMs(text), milliseconds);
    }
}

void TestCorvaneUtils::uuidsAreRecognised_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isUuid");
    QTest::newRow("bare") << "6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77" << true;
    QTest::newRow("upper case") << "6C2B5A0E-3F7D-4D0B-9A51-0F4F3A2C9E77" << true;
    QTest::newRow("braces") << "{6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77}" << true;
    QTest::newRow("one brace") << "{6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77" << false;
    QTest::newRow("null") << "00000000-0000-0000-0000-000000000000" << false;
    QTest::newRow("more behind") << "6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77.csv" << false;
    QTest::newRow("line end behind") << "6c2b5a0e-3f7d-4d0b-9a51-0f4f3a2c9e77\n" << false;
    QTest::newRow("path") << "/tmp/record.csv" << false;
    QTest::newRow("empty") << "" << false;
}

void TestCorvaneUtils::uuidsAreRecognised()
{
    QFETCH(QString, text);
    QFETCH(bool, isUuid);
    QCOMPARE(CorvaneUtils::isAUuid(text), isUuid);
}

void TestCorvaneUtils::joinedCommandsSplitIntoTheSameParts_data()
{
    QTest::addColumn<QStringList>("parts");
    QTest::newRow("plain") << QStringList { "/bin/a", "--b", "c" };
    QTest::newRow("blank in program") << QStringList { "/opt/my tools/a", "x" };
    QTest::newRow("blank and quote") << QStringList { "/bin/a", "say \"hi there\"" };
    QTest::newRow("quote alone") << QStringList { "/bin/a", "\"" };
    QTest::newRow("quotes at both ends") << QStringList { "/bin/a", "\"x\"" };
    QTest::newRow("quotes at both ends and blank") << QStringList { "/bin/a", "\"x y\"" };
    QTest::newRow("two quotes and a blank") << QStringList { "/bin/a", "\"\" x", "y" };
    QTest::newRow("tab and line end") << QStringList { "/bin/a", "x\ty\nz" };
    QTest::newRow("backslash") << QStringList { "C:\\a b\\c", "\\" };
    QTest::newRow("no-break space") << QStringList { "/bin/a", QString("x") + QChar(0x00A0) + "y" };
}

void TestCorvaneUtils::joinedCommandsSplitIntoTheSameParts()
{
    QFETCH(QStringList, parts);
    const QString line = CorvaneUtils::joinCommand(parts.constFirst(), parts.mid(1));
    QCOMPARE(QProcess::splitCommand(line), parts);
}

void TestCorvaneUtils::commandLinesAreCompared_data()
{
    QTest::addColumn<QString>("left");
    QTest::addColumn<QString>("right");
    QTest::addColumn<bool>("isEqual");
    QTest::newRow("same") << "/x/rec --name A" << "/x/rec --name A" << true;
    QTest::newRow("other blanks") << "/x/rec  --name   A " << "/x/rec --name A" << true;
    QTest::newRow("other quotes") << "\"/x/rec\" --name \"A\"" << "/x/rec --name A" << true;
    QTest::newRow("dots in the path") << "/x/y/../rec --name A" << "/x/rec --name A" << true;
    QTest::newRow("other argument") << "/x/rec --name A" << "/x/rec --name B" << false;
    QTest::newRow("other order") << "/x/rec -v --name A" << "/x/rec --name A -v" << false;
    QTest::newRow("more arguments") << "/x/rec -v" << "/x/rec -v -v" << false;
    QTest::newRow("other program") << "/x/rec -v" << "/y/rec -v" << false;
    QTest::newRow("masked value") << "/x/rec -u me --cassandra_password secret"
                                  << "/x/rec -u me --cassandra_password ********" << true;
    QTest::newRow("masked behind =") << "/x/rec --cassandra_password=********" << "/x/rec --cassandra_password=secret"
                                     << true;
    QTest::newRow("masked behind short") << "/x/rec -asecret" << "/x/rec -a********" << true;
    QTest::newRow("masked, other user") << "/x/rec -u me -a ********" << "/x/rec -u you -a secret" << false;
    QTest::newRow("both masked") << "/x/rec -u me -a ********" << "/x/rec  -u me  -a ********" << true;
    QTest::newRow("both masked, other user") << "/x/rec -u me -a ********" << "/x/rec -u you -a ********" << false;
    QTest::newRow("masked, other option") << "/x/rec --password=********" << "/x/rec --user=me" << false;
    QTest::newRow("both empty") << "" << "  " << true;
    QTest::newRow("one empty") << "" << "/x/rec" << false;
}

void TestCorvaneUtils::commandLinesAreCompared()
{
    QFETCH(QString, left);
    QFETCH(QString, right);
    QFETCH(bool, isEqual);
    QCOMPARE(CorvaneUtils::commandLinesEqual(left, right), isEqual);
    QCOMPARE(CorvaneUtils::commandLinesEqual(right, left), isEqual);
}

void TestCorvaneUtils::aLinkToTheProgramIsTheSameProgram()
{
    // Given a program and a link to it
    QTemporaryDir folder;
    const QString program = folder.filePath("program with blank");
    const QString link = folder.filePath("link");
    QFile file(program);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.link(link));

    // Then both launch the same agent, and a program beside them does not
    QVERIFY(CorvaneUtils::commandLinesEqual(
        CorvaneUtils::joinCommand(program, { "x" }), CorvaneUtils::joinCommand(link, { "x" })));
    QVERIFY(!CorvaneUtils::commandLinesEqual(
        CorvaneUtils::joinCommand(program, { "x" }), CorvaneUtils::joinCommand(folder.filePath("other"), { "x" })));
}

void TestCorvaneUtils::maskedValuesAreSeen()
{
    QVERIFY(SplitCommandLine("/x/rec -a ********").hasMaskedValue());
    QVERIFY(SplitCommandLine("/x/rec --password=********").hasMaskedValue());
    QVERIFY(!SplitCommandLine("/x/rec -a secret").hasMaskedValue());
    QVERIFY(!SplitCommandLine("").hasMaskedValue());
}

void TestCorvaneUtils::aMaskedLineIsTheSameOnlyAsAMaskedOne()
{
    const SplitCommandLine one("/x/rec -a one");
    const SplitCommandLine two("/x/rec -a two");
    const SplitCommandLine masked("/x/rec -a ********");
    QVERIFY(CorvaneUtils::commandLinesEqual(one, masked));
    QVERIFY(CorvaneUtils::commandLinesEqual(masked, two));
    QVERIFY(!CorvaneUtils::commandLinesEqual(one, two));
    QVERIFY(!one.isSameAs(masked));
    QVERIFY(!masked.isSameAs(two));
    QVERIFY(one.isSameAs(SplitCommandLine("\"/x/rec\"  -a one")));
    QVERIFY(masked.isSameAs(SplitCommandLine("/x/y/../rec -a ********")));
    QVERIFY(!one.isSameAs(two));
}

void TestCorvaneUtils::agentNamesAreCleaned_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("clean");
    QTest::newRow("plain") << "Recorder 2" << "Recorder 2";
    QTest::newRow("blanks around") << "  Recorder\t" << "Recorder";
    QTest::newRow("refused characters") << "a/b\\c*d?e#f\"g" << "a_b_c_d_e_f_g";
    QTest::newRow("refused characters only") << "///" << "___";
    QTest::newRow("leading minus") << "-v" << "_v";
    QTest::newRow("minus alone") << "-" << "_";
    QTest::newRow("minus behind blanks") << "  --x" << "_-x";
    QTest::newRow("control characters part words") << "a\nb" << "a b";
    QTest::newRow("unicode") << QString::fromUtf8("Pümpe 泵 😀") << QString::fromUtf8("Pümpe 泵 😀");
    QTest::newRow("half a character") << QString(QChar(0xD83D)) + "x" << QString(QChar(0xFFFD)) + "x";
    QTest::newRow("blanks only") << " \t\n " << "";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("too long") << QString(300, u'a') << QString(255, u'a');
    QTest::newRow("too long in bytes") << QString(200, QChar(0x00E9)) << QString(127, QChar(0x00E9));
    QTest::newRow("too long, blank at the cut") << QString(254, u'a') + " b" << QString(254, u'a');
    QTest::newRow("too long, pair at the cut") << QString(253, u'a') + QString::fromUtf8("😀") << QString(253, u'a');
}

void TestCorvaneUtils::agentNamesAreCleaned()
{
    QFETCH(QString, name);
    QFETCH(QString, clean);
    const QString result = CorvaneUtils::cleanAgentName(name);
    QCOMPARE(result, clean);
    QCOMPARE(CorvaneUtils::cleanAgentName(result), result);
    if (!result.isEmpty()) {
        QVERIFY2(qny_name_is_valid(result.toUtf8().constData(), true), qUtf8Printable(result));
    }
}

void TestCorvaneUtils::flagsAreEdited_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("isPresent");
    QTest::addColumn<QString>("edited");
    QTest::newRow("added") << "/x/rec --name A" << true << "/x/rec --name A --verbose";
    QTest::newRow("there already, long") << "/x/rec  --verbose  -x" << true << "/x/rec  --verbose  -x";
    QTest::newRow("there already, short") << "/x/rec -v" << true << "/x/rec -v";
    QTest::newRow("removed, long") << "/x/rec --verbose --name A" << false << "/x/rec --name A";
    QTest::newRow("removed, short") << "/x/rec -v --name A" << false << "/x/rec --name A";
    QTest::newRow("removed, every one") << "/x/rec -v --name A --verbose" << false << "/x/rec --name A";
    QTest::newRow("removed from a group of flags") << "/x/rec -v5" << false << "/x/rec -5";
    QTest::newRow("removed from the end of a group") << "/x/rec -5v" << false << "/x/rec -5";
    QTest::newRow("removed from the middle of a group") << "/x/rec -5v6" << false << "/x/rec -56";
    QTest::newRow("removed from a group twice") << "/x/rec -v5v" << false << "/x/rec -5";
    QTest::newRow("removed from a group with a value") << "/x/rec -5vadb" << false << "/x/rec -5adb";
    QTest::newRow("there already, in a group") << "/x/rec -5v" << true << "/x/rec -5v";
    QTest::newRow("removed with a value that it does not take")
        << "/x/rec --verbose=yes -v=yes -5" << false << "/x/rec -5";
    QTest::newRow("the letter of a joined value is none") << "/x/rec -asecretv" << false << "/x/rec -asecretv";
    QTest::newRow("added though a joined value has the letter")
        << "/x/rec -asecretv" << true << "/x/rec -asecretv --verbose";
    QTest::newRow("added before a lone -- behind a value of that text")
        << "/x/rec -a -- -5 -- file" << true << "/x/rec -a -- -5 --verbose -- file";
    QTest::newRow("not there") << "/x/rec  --name A" << false << "/x/rec  --name A";
    QTest::newRow("longer option is another") << "/x/rec --verbose-log" << false << "/x/rec --verbose-log";
    QTest::newRow("added before a lone --") << "/x/rec -- file" << true << "/x/rec --verbose -- file";
    QTest::newRow("behind a lone -- it is a file") << "/x/rec -- -v" << false << "/x/rec -- -v";
    QTest::newRow("blanks are kept together")
        << "\"/my x/rec\" --name \"A B\"" << true << "\"/my x/rec\" --name \"A B\" --verbose";
    QTest::newRow("no program") << "" << true << "";
}

void TestCorvaneUtils::flagsAreEdited()
{
    QFETCH(QString, line);
    QFETCH(bool, isPresent);
    QFETCH(QString, edited);
    QCOMPARE(CorvaneUtils::updateCommandLineWithNoArgumentOptionFor(line, "--verbose", "-v", isPresent), edited);
}

void TestCorvaneUtils::optionsWithValuesAreEdited_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("edited");
    QTest::newRow("added") << "/x/rec -v" << "db:9042" << "/x/rec -v --cassandra db:9042";
    QTest::newRow("replaced in place") << "/x/rec --cassandra a:1 -v" << "b:2" << "/x/rec --cassandra b:2 -v";
    QTest::newRow("replaced behind =") << "/x/rec --cassandra=a:1 -v" << "b:2" << "/x/rec --cassandra b:2 -v";
    QTest::newRow("replaced, short") << "/x/rec -c a:1 -v" << "b:2" << "/x/rec --cassandra b:2 -v";
    QTest::newRow("replaced, joined short") << "/x/rec -ca:1 -v" << "b:2" << "/x/rec --cassandra b:2 -v";
    QTest::newRow("replaced, short with =") << "/x/rec -c=a:1 -v" << "b:2" << "/x/rec --cassandra b:2 -v";
    QTest::newRow("every one replaced by one")
        << "/x/rec -c a:1 --cassandra=b:2 -v" << "d:3" << "/x/rec --cassandra d:3 -v";
    QTest::newRow("the same value") << "/x/rec  -c  a:1" << "a:1" << "/x/rec  -c  a:1";
    QTest::newRow("taken out") << "/x/rec --cassandra a:1 -v" << "" << "/x/rec -v";
    QTest::newRow("taken out, joined") << "/x/rec -ca:1 -v" << "" << "/x/rec -v";
    QTest::newRow("taken out, not there") << "/x/rec   -v" << "" << "/x/rec   -v";
    QTest::newRow("other long option is another") << "/x/rec --cassandra_username me" << ""
                                                  << "/x/rec --cassandra_username me";
    QTest::newRow("option without its value") << "/x/rec -v --cassandra" << "a:1" << "/x/rec -v --cassandra a:1";
    QTest::newRow("before a lone --") << "/x/rec -- --cassandra z" << "a:1"
                                      << "/x/rec --cassandra a:1 -- --cassandra z";
    QTest::newRow("replaced behind other flags of its part") << "/x/rec -5vca:1 -x" << "b:2"
                                                             << "/x/rec -5v --cassandra b:2 -x";
    QTest::newRow("taken out from behind other flags") << "/x/rec -vc a:1 -x" << "" << "/x/rec -v -x";
    QTest::newRow("the value of another option is none") << "/x/rec -u -c --name --cassandra" << "a:1"
                                                         << "/x/rec -u -c --name --cassandra --cassandra a:1";
    QTest::newRow("no program") << "" << "a:1" << "";
    QTest::newRow("before an option whose value is missing")
        << "/x/rec -v -a" << "a:1" << "/x/rec -v --cassandra a:1 -a";
}

void TestCorvaneUtils::optionsWithValuesAreEdited()
{
    QFETCH(QString, line);
    QFETCH(QString, value);
    QFETCH(QString, edited);
    QCOMPARE(CorvaneUtils::updateCommandLineWithArgumentOptionFor(line, "--cassandra", "-c", value), edited);
}

void TestCorvaneUtils::anEditedValueIsReadBack_data()
{
    QTest::addColumn<QString>("value");
    QTest::newRow("plain") << "value";
    QTest::newRow("blanks") << "/my certificates/a b.pem";
    QTest::newRow("quotes") << "say \"hi\"";
    QTest::newRow("quotes only") << "\"\"";
    QTest::newRow("leading minus") << "-v";
    QTest::newRow("looks like a long option") << "--name";
    QTest::newRow("equals sign") << "a=b";
    QTest::newRow("blanks at both ends") << " pass word ";
    QTest::newRow("unicode") << QString::fromUtf8("пароль 密");
}

void TestCorvaneUtils::anEditedValueIsReadBack()
{
    QFETCH(QString, value);
    for (const QString& line :
        { QString("/x/rec -v"), QString("/x/rec --cassandra_password old -v"), QString("/x/rec -aold") }) {
        // When the value is written, and something else is edited after it
        QString edited
            = CorvaneUtils::updateCommandLineWithArgumentOptionFor(line, "--cassandra_password", "-a", value);
        edited = CorvaneUtils::updateCommandLineWithArgumentOptionFor(edited, "--cassandra", "-c", "a:1");
        // Then it is read back as it was, and taken out whole
        QCOMPARE(CorvaneUtils::optionValue(edited, "--cassandra_password", "-a"), value);
        QCOMPARE(CorvaneUtils::optionValue(edited, "--cassandra", "-c"), QString("a:1"));
        const QString without
            = CorvaneUtils::updateCommandLineWithArgumentOptionFor(edited, "--cassandra_password", "-a", "");
        QVERIFY(CorvaneUtils::optionValue(without, "--cassandra_password", "-a").isNull());
        QCOMPARE(QProcess::splitCommand(without).contains("-v"), line.contains("-v"));
    }
}

void TestCorvaneUtils::anOptionSwitchedOffLeavesTheValuesOfOthers_data()
{
    QTest::addColumn<QString>("option");
    for (const QString& option : CorvaneUtils::recorderOptionsWithValue()) {
        QTest::newRow(qPrintable(option)) << option;
    }
}

void TestCorvaneUtils::anOptionSwitchedOffLeavesTheValuesOfOthers()
{
    QFETCH(QString, option);
    const bool isLong = option.startsWith("--");
    for (const QString& value : { QString("-v"), QString("--verbose"), QString("-vsecret"), QString("5v") }) {
        // Given the value apart, behind "=", and joined
        QStringList forms { option + ' ' + value, option + '=' + value };
        if (!isLong && !value.startsWith("-")) {
            forms.append(option + value);
        }
        for (const QString& form : forms) {
            const QString without = "/x/rec " + form;
            for (const QString& line : { without + " -v", without + " --verbose", "/x/rec -v " + form }) {
                // When the flag is switched off
                const QString edited
                    = CorvaneUtils::updateCommandLineWithNoArgumentOptionFor(line, "--verbose", "-v", false);
                // Then it goes, and the value stays
                QCOMPARE(edited, without);
                QCOMPARE(
                    CorvaneUtils::optionValue(edited, isLong ? option : QString(), isLong ? QString() : option), value);
            }
        }
    }
}

void TestCorvaneUtils::ofOtherProgramsOnlyWhatIsToldIsKnown()
{
    // "-a" is a password of recorders, and a flag of this program
    const QString line = "/opt/sensor -a --name Probe";
    QVERIFY(CorvaneUtils::optionValue(line, "--name", {}).isNull());
    QCOMPARE(CorvaneUtils::optionValue(line, "--name", {}, {}), QString("Probe"));
    QCOMPARE(CorvaneUtils::updateCommandLineWithArgumentOptionFor(line, "--name", {}, "Other", {}),
        QString("/opt/sensor -a --name Other"));
    QCOMPARE(CorvaneUtils::updateCommandLineWithNoArgumentOptionFor(
                 "/opt/sensor --level --verbose", "--verbose", "-v", false, { "--level" }),
        QString("/opt/sensor --level --verbose"));
}

QTEST_GUILESS_MAIN(TestCorvaneUtils)
#include "tst_corvaneutils.moc"
