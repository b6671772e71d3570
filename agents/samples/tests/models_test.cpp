// SPDX-License-Identifier: Apache-2.0
#include "models/controller.h"
#include "models/operator.h"
#include "models/pump.h"
#include "models/tank.h"
#include "models/valve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

using namespace samples;

namespace {

template <typename Model, typename... Arguments> void run(Model& model, double seconds, Arguments... arguments)
{
    constexpr double step = 0.01;
    for (double time = 0; time < seconds; time += step) {
        model.step(step, arguments...);
    }
}

} // namespace

TEST(Pump, ReachesItsCommandAndDeliversTheRatedFlow)
{
    PumpModel pump(1);
    EXPECT_EQ(pump.state(), "stopped");
    EXPECT_EQ(pump.flow(), 0.0);

    pump.step(0.01, 100);
    EXPECT_LT(pump.speed(), 5.0) << "the drive ramps";
    run(pump, 3.0, 100.0);

    EXPECT_NEAR(pump.speed(), 100.0, 0.1);
    EXPECT_NEAR(pump.flow(), PumpModel::ratedFlow, 0.05);
    EXPECT_EQ(pump.state(), "steady");
    EXPECT_TRUE(pump.isRunning());
}

TEST(Pump, CountsAStartOnlyWhenItComesFromRest)
{
    PumpModel pump(1);
    run(pump, 2.0, 60.0);
    run(pump, 2.0, 2.0); // between the limits of starting and stopping
    EXPECT_TRUE(pump.isRunning());
    run(pump, 2.0, 60.0);
    EXPECT_EQ(pump.starts(), 1);

    run(pump, 3.0, 0.0);
    EXPECT_FALSE(pump.isRunning());
    run(pump, 2.0, 60.0);
    EXPECT_EQ(pump.starts(), 2);
}

TEST(Pump, TakesACommandThatIsNoNumberAsStop)
{
    PumpModel pump(1);
    run(pump, 2.0, 80.0);
    run(pump, 4.0, std::numeric_limits<double>::quiet_NaN());
    EXPECT_NEAR(pump.speed(), 0.0, 0.1);
    run(pump, 4.0, 1e9);
    EXPECT_LE(pump.speed(), 100.0);
}

TEST(Pump, VibratesTheSameWithTheSameSeedAndMoreWhenFaster)
{
    PumpModel first(7);
    PumpModel second(7);
    PumpModel other(8);
    double slowest = 0;
    double fastest = 0;
    bool differs = false;
    for (int step = 0; step < 2000; ++step) {
        const double command = step < 1000 ? 20.0 : 100.0;
        first.step(0.005, command);
        second.step(0.005, command);
        other.step(0.005, command);
        ASSERT_EQ(first.vibration(), second.vibration());
        differs = differs || first.vibration() != other.vibration();
        (step < 1000 ? slowest : fastest) = std::max(step < 1000 ? slowest : fastest, std::abs(first.vibration()));
    }
    EXPECT_TRUE(differs);
    EXPECT_GT(fastest, 3 * slowest);
}

TEST(Tank, LevelIntegratesTheFlows)
{
    TankModel tank;
    const double before = tank.volume();
    run(tank, 2.0, 10.0, 0.0);
    EXPECT_NEAR(tank.volume(), before + 20.0, 0.2);
    EXPECT_EQ(tank.outflow(), 0.0);

    run(tank, 1.0, 0.0, 100.0);
    EXPECT_LT(tank.volume(), before + 20.0);
    EXPECT_GT(tank.outflow(), 0.0);
}

TEST(Tank, NeverHoldsLessThanNothing)
{
    TankModel tank;
    run(tank, 60.0, 0.0, 100.0);
    EXPECT_GE(tank.volume(), 0.0);
    EXPECT_LT(tank.level(), 1.0);
    EXPECT_EQ(tank.state(), "empty");
}

TEST(Tank, TellsOnceThatItFlowsOver)
{
    TankModel tank;
    int overflows = 0;
    for (int step = 0; step < 2000; ++step) {
        tank.step(0.01, 20.0, 0.0);
        overflows += tank.overflowBegan() ? 1 : 0;
    }
    EXPECT_EQ(overflows, 1);
    EXPECT_EQ(tank.volume(), TankModel::capacity);
    EXPECT_EQ(tank.state(), "full");

    run(tank, 4.0, 0.0, 100.0);
    for (int step = 0; step < 2000; ++step) {
        tank.step(0.01, 20.0, 0.0);
        overflows += tank.overflowBegan() ? 1 : 0;
    }
    EXPECT_EQ(overflows, 2);
}

TEST(Tank, GetsColderFromTheBottomAndIgnoresFlowsThatAreNoNumbers)
{
    TankModel tank;
    const double before = tank.temperature();
    run(tank, 10.0, 10.0, 50.0);
    EXPECT_LT(tank.temperature(), before);
    EXPECT_LT(tank.layers().front(), tank.layers().back());

    tank.step(0.01, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isfinite(tank.volume()));
    EXPECT_TRUE(std::isfinite(tank.temperature()));
}

TEST(Tank, EncodesItsLayersAsLittleEndianSinglePrecision)
{
    const TankModel tank;
    const auto bytes = tank.encodedLayers();
    ASSERT_EQ(bytes.size(), 64U);
    // 14.0 is 0x41600000.
    EXPECT_EQ(bytes[0], 0x00);
    EXPECT_EQ(bytes[1], 0x00);
    EXPECT_EQ(bytes[2], 0x60);
    EXPECT_EQ(bytes[3], 0x41);
}

TEST(Valve, MovesNoFasterThanItsMotor)
{
    ValveModel valve;
    run(valve, 1.0, 100.0);
    EXPECT_NEAR(valve.position(), ValveModel::speed, 0.5);
    EXPECT_TRUE(valve.isMoving());
    run(valve, 3.0, 100.0);
    EXPECT_EQ(valve.position(), 100.0);
    EXPECT_FALSE(valve.isMoving());
    EXPECT_EQ(valve.strokes(), 1);
}

TEST(Valve, StaysWithinItsDeadBandButClosesWholly)
{
    ValveModel valve;
    run(valve, 3.0, 50.0);
    run(valve, 1.0, 50.4);
    EXPECT_EQ(valve.position(), 50.0);
    EXPECT_EQ(valve.strokes(), 1);
    run(valve, 1.0, 51.0);
    EXPECT_EQ(valve.position(), 51.0);
    EXPECT_EQ(valve.strokes(), 2);

    run(valve, 3.0, 0.3);
    run(valve, 1.0, 0.0);
    EXPECT_EQ(valve.position(), 0.0);
}

TEST(Valve, TellsOnceThatItReachedAnEnd)
{
    ValveModel valve;
    int ends = 0;
    for (int step = 0; step < 1000; ++step) {
        valve.step(0.01, step < 500 ? 100.0 : 0.0);
        ends += valve.endReached() ? 1 : 0;
    }
    EXPECT_EQ(ends, 2);
    valve.step(0.01, std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(valve.position(), 0.0);
}

TEST(Controller, BringsTheTankToTheSetPointAndLetsTheSecondPumpGo)
{
    ControllerModel controller;
    TankModel tank;
    PumpModel first(1);
    PumpModel second(2);
    ValveModel valve;
    bool secondHelped = false;
    constexpr double step = 0.02;
    double highest = 0;
    for (double time = 0; time < 30; time += step) {
        controller.step(step, 70.0, tank.level(), true);
        first.step(step, controller.firstSpeed());
        second.step(step, controller.secondSpeed());
        valve.step(step, 45.0);
        tank.step(step, first.flow() + second.flow(), valve.position());
        secondHelped = secondHelped || controller.secondIsOn();
        highest = std::max(highest, tank.level());
    }
    EXPECT_TRUE(secondHelped);
    EXPECT_FALSE(controller.secondIsOn());
    EXPECT_NEAR(tank.level(), 70.0, 1.0);
    EXPECT_LT(highest, 78.0) << "no wind-up";
    EXPECT_EQ(controller.alarm(), "");
}

TEST(Controller, HoldsItsOutputsInManualMode)
{
    ControllerModel controller;
    controller.step(0.02, 60.0, 55.0, true);
    const double held = controller.firstSpeed();
    EXPECT_GT(held, 0.0);
    run(controller, 5.0, 90.0, 55.0, false);
    EXPECT_EQ(controller.firstSpeed(), held);
    EXPECT_FALSE(controller.secondIsOn());
    EXPECT_EQ(controller.error(), 35.0);
}

TEST(Controller, KeepsAnAlarmUntilTheLevelIsBackByAMargin)
{
    ControllerModel controller;
    controller.step(0.02, 50.0, 93.0, true);
    EXPECT_EQ(controller.alarm(), "level high");
    controller.step(0.02, 50.0, 90.0, true);
    EXPECT_EQ(controller.alarm(), "level high");
    controller.step(0.02, 50.0, 80.0, true);
    EXPECT_EQ(controller.alarm(), "");
    controller.step(0.02, 50.0, 5.0, true);
    EXPECT_EQ(controller.alarm(), "level low");
}

TEST(OperatorSchedule, IsTheSameForTheSameSeed)
{
    OperatorSchedule first(42);
    OperatorSchedule second(42);
    OperatorSchedule other(43);
    bool differs = false;
    for (int count = 0; count < 200; ++count) {
        const auto one = first.next();
        const auto two = second.next();
        const auto three = other.next();
        EXPECT_EQ(one.kind, two.kind);
        EXPECT_EQ(one.at, two.at);
        EXPECT_EQ(one.number, two.number);
        EXPECT_EQ(one.text, two.text);
        EXPECT_EQ(one.bytes, two.bytes);
        differs = differs || one.at != three.at;
    }
    EXPECT_TRUE(differs);
}

TEST(OperatorSchedule, DoesEverythingWithinReasonAndNeverGoesBackInTime)
{
    OperatorSchedule schedule(3);
    std::set<OperatorAction::Kind> kinds;
    double last = 0;
    bool isAutomatic = true;
    for (int count = 0; count < 500; ++count) {
        const auto action = schedule.next();
        kinds.insert(action.kind);
        EXPECT_GE(action.at, last);
        last = action.at;
        if (action.kind == OperatorAction::Kind::SetPoint) {
            EXPECT_GE(action.number, 20.0);
            EXPECT_LE(action.number, 80.0);
        }
        if (!isAutomatic) {
            EXPECT_TRUE(action.kind == OperatorAction::Kind::Automatic && action.flag) << "manual mode is short";
        }
        isAutomatic = action.kind == OperatorAction::Kind::Automatic ? action.flag : isAutomatic;
    }
    EXPECT_EQ(kinds.size(), 6U);
    EXPECT_GT(last, 300.0);
}

TEST(OperatorSchedule, ShowsEveryKindOfValueInEveryRoundAndLeavesTheFirstSettingsTheirTime)
{
    using Kind = OperatorAction::Kind;
    for (std::uint64_t seed = 0; seed < 50; ++seed) {
        OperatorSchedule schedule(seed);
        double firstChange = 0;
        double lastAcknowledged = 0;
        for (auto action = schedule.next(); action.at < 120; action = schedule.next()) {
            if ((action.kind == Kind::SetPoint || action.kind == Kind::Demand) && action.at > 0 && firstChange == 0) {
                firstChange = action.at;
            }
            if (action.kind == Kind::Acknowledge) {
                EXPECT_LT(action.at - lastAcknowledged, 20.0) << seed;
                lastAcknowledged = action.at;
            }
        }
        EXPECT_GT(firstChange, 1.6) << seed;
        EXPECT_LT(firstChange, 20.0) << seed;
    }
}
