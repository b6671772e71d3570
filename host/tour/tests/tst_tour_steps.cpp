// SPDX-License-Identifier: Apache-2.0
#include "filedialoganswer.h"
#include "objecthandle.h"
#include "toursteps.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>

using namespace tour;

// Stands for an object of a plugin.
class Valve : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double position READ position WRITE setPosition NOTIFY positionChanged)
    Q_PROPERTY(Valve* twin READ twin WRITE setTwin)

public:
    double position() const { return _position; }
    void setPosition(double position) { _position = position; }
    Valve* twin() const { return _twin; }
    void setTwin(Valve* twin) { _twin = twin; }

    Q_INVOKABLE void open() { _position = 1.0; }
    Q_INVOKABLE void open(double position) { _position = position; }
    Q_INVOKABLE void copy(Valve* other, const QString& note)
    {
        _position = other != nullptr ? other->position() : -1.0;
        _note = note;
    }
    QString note() const { return _note; }

Q_SIGNALS:
    void positionChanged(double position);

private:
    double _position = 0.0;
    QString _note;
    Valve* _twin = nullptr;
};

class TestTourSteps : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stepsAreCounted()
    {
        Steps steps;
        QVERIFY(steps.run("a", {}, "do a", [] { return Answer::yes("done"); }));
        QVERIFY(!steps.run("b", {}, "do b", [] { return Answer::no("broken"); }));
        QCOMPARE(steps.passed(), 1);
        QCOMPARE(steps.failed(), 1);
        QCOMPARE(steps.failedSteps(), QStringList("[2] do b"));
    }

    void aStepWhoseNeedFailedIsNotRunAndFails()
    {
        Steps steps;
        bool isRun = false;
        steps.run("a", {}, "do a", [] { return Answer::no("broken"); });
        QVERIFY(!steps.run("b", { "a" }, "do b", [&] {
            isRun = true;
            return Answer::yes("done");
        }));
        QVERIFY(steps.run("c", {}, "do c", [] { return Answer::yes("done"); }));
        QVERIFY(steps.run("d", { "c" }, "do d", [] { return Answer::yes("done"); }));
        QVERIFY(!isRun);
        QCOMPARE(steps.passed(), 2);
        QCOMPARE(steps.failed(), 2);
    }

    void aWaitSaysWhatItWaitedFor()
    {
        const Answer answer = await("the moon", [] { return false; }, 30, [] { return QString(); });
        QVERIFY(!answer.passed);
        QCOMPARE(answer.text, "waited 0.0 s in vain for the moon");
        QVERIFY(await("the sun", [] { return true; }, 30, [] { return QString("up"); }).passed);
    }

    void aConditionHoldsOnlyIfItNeverBreaks()
    {
        int looks = 0;
        QVERIFY(holds([] { return true; }, 30));
        QVERIFY(!holds([&] { return ++looks < 3; }, 1000));
    }

    void anObjectIsCalledByName()
    {
        Valve valve;
        Valve other;
        other.setPosition(0.25);
        const ObjectHandle handle(&valve);
        QCOMPARE(handle.call("open"), "");
        QCOMPARE(valve.position(), 1.0);
        QCOMPARE(handle.call("open", { 1 }), ""); // a whole number does for a double
        QCOMPARE(handle.call("copy", { argument(ObjectHandle(&other)), "from other" }), "");
        QCOMPARE(valve.position(), 0.25);
        QCOMPARE(valve.note(), "from other");
        QCOMPARE(handle.call("copy", { argument(ObjectHandle()), "from nobody" }), "");
        QCOMPARE(valve.position(), -1.0);
    }

    void aCallThatCannotBeMadeIsToldAbout()
    {
        Valve valve;
        QCOMPARE(ObjectHandle(&valve).call("close"), "Valve has no invokable \"close\" with 0 arguments");
        QCOMPARE(ObjectHandle(&valve).call("open", { 1, 2 }), "Valve has no invokable \"open\" with 2 arguments");
        QCOMPARE(ObjectHandle(&valve).call("positionChanged", { 1.0 }),
            "Valve has no invokable \"positionChanged\" with 1 arguments");
        QCOMPARE(ObjectHandle(&valve).call("open", { QVariant::fromValue(QStringList()) }),
            "argument 1 of \"open\" is no double");
        QCOMPARE(ObjectHandle().call("open"), "there is no object to call \"open\" on");
    }

    void propertiesAreReadByName()
    {
        Valve valve;
        Valve twin;
        valve.setTwin(&twin);
        twin.setPosition(0.5);
        const ObjectHandle handle(&valve);
        QCOMPARE(handle.child("twin").number("position"), 0.5);
        QVERIFY(handle.set("position", 0.75));
        QCOMPARE(handle.number("position"), 0.75);
        QVERIFY(handle.set("twin", argument(ObjectHandle())));
        QVERIFY(valve.twin() == nullptr);
        QVERIFY(handle.set("twin", argument(ObjectHandle(&twin))));
        QVERIFY(valve.twin() == &twin);
        QVERIFY(!handle.set("colour", "red"));
        QTest::ignoreMessage(QtWarningMsg, "The tour: Valve has no property \"colour\"");
        QVERIFY(!handle.value("colour").isValid());
        QVERIFY(ObjectHandle().child("twin").isNull());
    }

    void aHandleIsNullOnceItsObjectIsGone()
    {
        auto valve = std::make_unique<Valve>();
        const ObjectHandle handle(valve.get());
        valve.reset();
        QVERIFY(handle.isNull());
        QVERIFY(!handle.isTrue("position"));
    }

    void signalsAreCounted()
    {
        Valve valve;
        const SignalCounter counter(ObjectHandle(&valve), SIGNAL(positionChanged(double)));
        QVERIFY(counter.isConnected());
        Q_EMIT valve.positionChanged(1.0);
        QCOMPARE(counter.count(), 1);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("No such signal Valve::burst"));
        QVERIFY(!SignalCounter(ObjectHandle(&valve), SIGNAL(burst())).isConnected());
    }

    void aFileDialogIsAnswered()
    {
        QTemporaryDir folder;
        const QString path = folder.filePath("record.csv");
        const FileDialogAnswer answer(path);
        QCOMPARE(QFileDialog::getSaveFileName(nullptr, "Save it", QString(), "CSV (*.csv)"), path);
        QVERIFY(answer.isAnswered());
        QCOMPARE(answer.title(), "Save it");
    }

    void aFileDialogThatTakesNothingIsClosed()
    {
        QTemporaryDir folder;
        // A file to open must be there: the dialog warns, which nobody answers, and stays open.
        const FileDialogAnswer answer(folder.filePath("absent.csv"));
        QCOMPARE(QFileDialog::getOpenFileName(nullptr, "Open it", QString(), "CSV (*.csv)"), QString());
        QVERIFY(!answer.isAnswered());
    }
};

int main(int argc, char** argv)
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    TestTourSteps test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_tour_steps.moc"
