// SPDX-License-Identifier: Apache-2.0
#include "models/valve.h"
#include "common/changed.h"
#include "common/families.h"
#include "common/inputs.h"
#include "common/runner.h"

namespace {

class ValveAgent : public samples::SampleAgent
{
public:
    explicit ValveAgent(const samples::Options& options)
        : _commander(options.own.at("operator"))
    {
    }

    void declare(samples::Publisher& publisher) override
    {
        publisher.declare("position", QNY_DOUBLE_T);
        publisher.declare("moving", QNY_BOOL_T);
        publisher.declare("strokes", QNY_INTEGER_T);
        publisher.declare("end_stop", QNY_IMPULSE_T);
        samples::createNumberInput("position_command", 0.0);
        samples::mapInput("position_command", _commander, "demand");
    }

    std::chrono::microseconds period() const override { return std::chrono::milliseconds(10); }

    void step(std::uint64_t tick, samples::Publisher& publisher) override
    {
        _model.step(std::chrono::duration<double>(period()).count(), qny_input_double("position_command"));
        if (samples::isDue(tick, 4)) {
            publisher.number("position", _model.position()); // 25 a second
        }
        if (_moving.to(_model.isMoving())) {
            publisher.boolean("moving", _model.isMoving());
        }
        if (_strokes.to(_model.strokes())) {
            publisher.integer("strokes", _model.strokes());
        }
        if (_model.endReached()) {
            publisher.impulse("end_stop");
        }
    }

private:
    samples::ValveModel _model;
    std::string _commander;
    samples::Changed<bool> _moving;
    samples::Changed<std::int32_t> _strokes;
};

} // namespace

int main(int argc, char** argv)
{
    const samples::ProgramInfo info {
        "qnySampleValve",
        "The outlet valve of the sample plant: its motor follows the operator's demand.",
        "Valve",
        "",
        { { "operator", "NAME", "name of the operator's agent", "Operator" } },
    };
    return samples::runSample(
        info, samples::valveFamily,
        [](const samples::Options& options) { return std::make_unique<ValveAgent>(options); }, argc, argv);
}
