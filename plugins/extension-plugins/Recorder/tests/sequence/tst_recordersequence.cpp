// SPDX-License-Identifier: Apache-2.0
#include "actions.h"
#include "invariants.h"

#include <QtCore/QHashFunctions>
#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

/// A long sequence of what users, hosts and recorders do, in any order. After each step everything must be true that is
/// true of the module at all times, and a few properties must be what a model of the test's own predicts.
//
/// The same seed gives the same sequence: RECORDER_SEQUENCE_SEED plays one again, of RECORDER_SEQUENCE_STEPS steps.
class tst_RecorderSequence : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    static void initMain();

    void theModuleKeepsItsPromisesWhateverHappens_data();
    void theModuleKeepsItsPromisesWhateverHappens();
};

namespace {

constexpr quint64 FIXED_SEED = 20261121;
constexpr int STEPS = 100000;

/// Empty, or why the sequence ended early.
QString play(World& world, int steps)
{
    while (world.journal.steps() < steps) {
        doSomething(world);
        const QString problem = world.problem() + brokenInvariant(world);
        if (!problem.isEmpty()) {
            return problem;
        }
    }
    return QString();
}

} // namespace

void tst_RecorderSequence::initMain()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QHashSeed::setDeterministicGlobalSeed();
}

void tst_RecorderSequence::theModuleKeepsItsPromisesWhateverHappens_data()
{
    QTest::addColumn<quint64>("seed");
    QTest::addColumn<int>("steps");
    const int givenSteps = qEnvironmentVariableIntValue("RECORDER_SEQUENCE_STEPS");
    const int steps = givenSteps > 0 ? givenSteps : STEPS;
    bool isGiven = false;
    const quint64 seed = qEnvironmentVariable("RECORDER_SEQUENCE_SEED").toULongLong(&isGiven);
    if (isGiven) {
        QTest::newRow("the given seed") << seed << steps;
        return;
    }
    QTest::newRow("the fixed seed") << FIXED_SEED << steps;
    QTest::newRow("a fresh seed") << static_cast<quint64>(QRandomGenerator::system()->generate()) << steps / 10;
}

void tst_RecorderSequence::theModuleKeepsItsPromisesWhateverHappens()
{
    QFETCH(quint64, seed);
    QFETCH(int, steps);
    qInfo("seed %llu, %d steps", static_cast<unsigned long long>(seed), steps);
    World world(seed);
    const QString problem = play(world, steps);
    if (!problem.isEmpty()) {
        world.journal.print();
        QFAIL(qPrintable(QStringLiteral("seed %1, step %2: %3").arg(seed).arg(world.journal.steps()).arg(problem)));
    }
}

QTEST_MAIN(tst_RecorderSequence)
#include "tst_recordersequence.moc"
