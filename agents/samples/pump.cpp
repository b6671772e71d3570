// SPDX-License-Identifier: Apache-2.0
#include "models/pump.h"
#include "common/changed.h"
#include "common/families.h"
#include "common/inputs.h"
#include "common/runner.h"

namespace {

class PumpAgent : public samples::SampleAgent
{
public:
    explicit PumpAgent(const samples::Options& options)
        : _model(options.seed)
        , _controller(options.own.at("controller"))
        , _line(options.own.at("line"))
    {
    }

    void declare(samples::Publisher& publisher) override
    {
        publisher.declare("vibration", QNY_DOUBLE_T);
        publisher.declare("flow", QNY_DOUBLE_T);
        publisher.declare("speed", QNY_DOUBLE_T);
        publisher.declare("running", QNY_BOOL_T);
        publisher.declare("starts", QNY_INTEGER_T);
        publisher.declare("state", QNY_STRING_T);
        samples::createNumberInput("speed_command", 0.0);
        samples::mapInput("speed_command", _controller, "speed_" + _line);
    }

    std::chrono::microseconds period() const override { return std::chrono::milliseconds(5); }

    void step(std::uint64_t tick, samples::Publisher& publisher) override
    {
        _model.step(std::chrono::duration<double>(period()).count(), qny_input_double("speed_command"));
        publisher.number("vibration", _model.vibration()); // 200 a second
        if (samples::isDue(tick, 4)) {
            publisher.number("flow", _model.flow()); // 50 a second
        }
        if (samples::isDue(tick, 10)) {
            publisher.number("speed", _model.speed()); // 20 a second
        }
        if (_running.to(_model.isRunning())) {
            publisher.boolean("running", _model.isRunning());
        }
        if (_starts.to(_model.starts())) {
            publisher.integer("starts", _model.starts());
        }
        if (_state.to(_model.state())) {
            publisher.text("state", _model.state());
        }
    }

private:
    samples::PumpModel _model;
    std::string _controller;
    std::string _line;
    samples::Changed<bool> _running;
    samples::Changed<std::int32_t> _starts;
    samples::Changed<std::string> _state;
};

} // namespace

int main(int argc, char** argv)
{
    const samples::ProgramInfo info {
        "qnySamplePump",
        "A pump of the sample plant: follows the controller's speed command and delivers a flow.",
        "Pump %1",
        "line",
        { { "line", "a|b", "the pump's place: which of the controller's outputs it follows", "a" },
            { "controller", "NAME", "name of the controller's agent", "Controller" } },
    };
    return samples::runSample(
        info, samples::pumpFamily, [](const samples::Options& options) { return std::make_unique<PumpAgent>(options); },
        argc, argv);
}
