// SPDX-License-Identifier: Apache-2.0
#include "models/tank.h"
#include "common/changed.h"
#include "common/families.h"
#include "common/inputs.h"
#include "common/runner.h"

#include <cmath>

namespace {

class TankAgent : public samples::SampleAgent
{
public:
    explicit TankAgent(const samples::Options& options)
        : _firstPump(options.own.at("pump-a"))
        , _secondPump(options.own.at("pump-b"))
        , _valve(options.own.at("valve"))
    {
    }

    void declare(samples::Publisher& publisher) override
    {
        publisher.declare("level", QNY_DOUBLE_T);
        publisher.declare("outflow", QNY_DOUBLE_T);
        publisher.declare("volume", QNY_INTEGER_T);
        publisher.declare("temperature", QNY_DOUBLE_T);
        publisher.declare("layers", QNY_DATA_T);
        publisher.declare("state", QNY_STRING_T);
        publisher.declare("overflow", QNY_IMPULSE_T);
        samples::createNumberInput("inflow_a", 0.0);
        samples::createNumberInput("inflow_b", 0.0);
        samples::createNumberInput("valve_position", 0.0);
        samples::mapInput("inflow_a", _firstPump, "flow");
        samples::mapInput("inflow_b", _secondPump, "flow");
        samples::mapInput("valve_position", _valve, "position");
    }

    std::chrono::microseconds period() const override { return std::chrono::milliseconds(10); }

    void step(std::uint64_t tick, samples::Publisher& publisher) override
    {
        _model.step(std::chrono::duration<double>(period()).count(),
            qny_input_double("inflow_a") + qny_input_double("inflow_b"), qny_input_double("valve_position"));
        if (samples::isDue(tick, 2)) {
            publisher.number("level", _model.level()); // 50 a second
        }
        if (samples::isDue(tick, 10)) {
            publisher.number("outflow", _model.outflow()); // 10 a second
            publisher.integer("volume", static_cast<std::int32_t>(std::lround(_model.volume())));
        }
        if (samples::isDue(tick, 20)) {
            publisher.data("layers", _model.encodedLayers()); // 5 a second
        }
        if (samples::isDue(tick, 100)) {
            publisher.number("temperature", _model.temperature()); // 1 a second
        }
        if (_state.to(_model.state())) {
            publisher.text("state", _model.state());
        }
        if (_model.overflowBegan()) {
            publisher.impulse("overflow");
        }
    }

private:
    samples::TankModel _model;
    std::string _firstPump;
    std::string _secondPump;
    std::string _valve;
    samples::Changed<std::string> _state;
};

} // namespace

int main(int argc, char** argv)
{
    const samples::ProgramInfo info {
        "qnySampleTank",
        "The tank of the sample plant: filled by two pumps, drained through a valve.",
        "Tank",
        "",
        { { "pump-a", "NAME", "name of the first pump's agent", "Pump A" },
            { "pump-b", "NAME", "name of the second pump's agent", "Pump B" },
            { "valve", "NAME", "name of the valve's agent", "Valve" } },
    };
    return samples::runSample(
        info, samples::tankFamily, [](const samples::Options& options) { return std::make_unique<TankAgent>(options); },
        argc, argv);
}
