// SPDX-License-Identifier: Apache-2.0
#include "script.h"

#include <QtTest/QTest>

using namespace scripted;

class TestScript : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRuleNamesItsServiceAndSteps()
    {
        const Line line = _parsed("on load: loading 50.0; wait 20; loaded $1 \"a; b\" 3.0 [\"pump\",\"x ; y\"]");
        QCOMPARE(line.kind, Line::Kind::On);
        QCOMPARE(line.service, "load");
        QCOMPARE(line.occurrence, 0);
        QCOMPARE(line.steps.size(), 3);
        QCOMPARE(line.steps.at(0).kind, Step::Kind::Answer);
        QCOMPARE(line.steps.at(0).service, "loading");
        QCOMPARE(line.steps.at(0).words.at(0).value, QVariant(50.0));
        QCOMPARE(line.steps.at(1).kind, Step::Kind::Wait);
        QCOMPARE(line.steps.at(1).words.at(0).value, QVariant(20));
        QCOMPARE(line.steps.at(2).words.at(0).argument, 1);
        QCOMPARE(line.steps.at(2).words.at(1).value, QVariant("a; b"));
        QCOMPARE(line.steps.at(2).words.at(3).value, QVariant("[\"pump\",\"x ; y\"]"));
    }

    void aRuleMayBeForOneCallOnly()
    {
        const Line line = _parsed("on append #3 : nothing");
        QCOMPARE(line.service, "append");
        QCOMPARE(line.occurrence, 3);
        QCOMPARE(line.steps.at(0).kind, Step::Kind::Nothing);
    }

    void otherLinesAreDoneNow()
    {
        QCOMPARE(_parsed("for play: replay_ended").kind, Line::Kind::For);
        QCOMPARE(_parsed("stream record_progress 0.0 0.5 100").kind, Line::Kind::Now);
        QCOMPARE(_parsed("report").kind, Line::Kind::Report);
        QCOMPARE(_parsed("  # nothing to do").kind, Line::Kind::Empty);
        QCOMPARE(_parsed("").kind, Line::Kind::Empty);
    }

    void wordsHaveTheTypesOfArguments()
    {
        const QList<Word> words = _parsed("context \"\" -7 -0.5 1.0e-3 true false abc {\"a\":1} $9").steps.at(0).words;
        QCOMPARE(words.at(0).value, QVariant(QString()));
        QCOMPARE(words.at(1).value, QVariant(-7));
        QCOMPARE(words.at(2).value, QVariant(-0.5));
        QCOMPARE(words.at(3).value, QVariant(0.001));
        QCOMPARE(words.at(4).value, QVariant(true));
        QCOMPARE(words.at(5).value, QVariant(false));
        QCOMPARE(words.at(6).value, QVariant("abc"));
        QCOMPARE(words.at(7).value, QVariant("{\"a\":1}"));
        QCOMPARE(words.at(8).argument, 9);
    }

    void whatIsNoLineIsRefusedWithAReason_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("reason");
        QTest::newRow("an unknown step") << "on load: laoded" << "neither a step nor an answer";
        QTest::newRow("no step") << "on load: ;" << "no step";
        QTest::newRow("too few words") << "stream record_progress 0.0" << "takes 4 to 4 words";
        QTest::newRow("too many words") << "die now" << "takes 0 to 0 words";
        QTest::newRow("open quotes") << "loading_failed \"a" << "no text in quotes";
    }

    void whatIsNoLineIsRefusedWithAReason()
    {
        QFETCH(QString, text);
        QFETCH(QString, reason);
        QString problem;
        QVERIFY(!parseLine(text, problem));
        QVERIFY2(problem.contains(reason), qPrintable(problem));
    }

private:
    static Line _parsed(const QString& text)
    {
        QString problem;
        const std::optional<Line> line = parseLine(text, problem);
        if (!line) {
            qFatal("%s: %s", qPrintable(text), qPrintable(problem));
        }
        return *line;
    }
};

QTEST_APPLESS_MAIN(TestScript)
#include "tst_script.moc"
