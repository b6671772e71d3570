// SPDX-License-Identifier: Apache-2.0
#include "models/operator.h"
#include "common/families.h"
#include "common/inputs.h"
#include "common/runner.h"

#include <cstdio>

namespace {

using samples::OperatorAction;

class OperatorAgent : public samples::SampleAgent
{
public:
    explicit OperatorAgent(const samples::Options& options)
        : _schedule(options.seed)
        , _controller(options.own.at("controller"))
        , _next(_schedule.next())
    {
    }

    void declare(samples::Publisher& publisher) override
    {
        publisher.declare("set_point", QNY_DOUBLE_T);
        publisher.declare("demand", QNY_DOUBLE_T);
        publisher.declare("automatic", QNY_BOOL_T);
        publisher.declare("note", QNY_STRING_T);
        publisher.declare("acknowledge", QNY_IMPULSE_T);
        publisher.declare("recipe", QNY_DATA_T);
        publisher.declare("watch", QNY_INTEGER_T);
    }

    std::chrono::microseconds period() const override { return std::chrono::milliseconds(50); }

    void step(std::uint64_t tick, samples::Publisher& publisher) override
    {
        const double now = std::chrono::duration<double>(period()).count() * static_cast<double>(tick);
        for (; _next.at <= now; _next = _schedule.next()) {
            _act(publisher);
        }
        if (samples::isDue(tick, 20)) {
            publisher.integer("watch", static_cast<std::int32_t>(tick / 20)); // 1 a second
        }
    }

private:
    void _act(samples::Publisher& publisher)
    {
        switch (_next.kind) {
        case OperatorAction::Kind::SetPoint:
            publisher.number("set_point", _next.number);
            break;
        case OperatorAction::Kind::Demand:
            publisher.number("demand", _next.number);
            break;
        case OperatorAction::Kind::Automatic:
            publisher.boolean("automatic", _next.flag);
            break;
        case OperatorAction::Kind::Note:
            publisher.text("note", _next.text);
            break;
        case OperatorAction::Kind::Recipe:
            publisher.data("recipe", _next.bytes);
            break;
        case OperatorAction::Kind::Acknowledge:
            publisher.impulse("acknowledge");
            _callLog(_next.text);
            break;
        }
    }

    // An operator without a controller goes on: the plant's agents come and go one by one.
    void _callLog(const std::string& text)
    {
        qny_service_arg_t* arguments = nullptr;
        qny_service_args_add_string(&arguments, text.c_str());
        const auto result = qny_service_call(_controller.c_str(), "log", &arguments, nullptr);
        if (result != QNY_SUCCESS && result != QNY_ERROR_UNKNOWN_AGENT) {
            std::fprintf(stderr, "log: %s\n", qny_last_error());
        }
    }

    samples::OperatorSchedule _schedule;
    std::string _controller;
    OperatorAction _next;
};

} // namespace

int main(int argc, char** argv)
{
    const samples::ProgramInfo info {
        "qnySampleOperator",
        "The operator of the sample plant: changes set points, opens the valve, writes notes, by a seeded schedule.",
        "Operator",
        "",
        { { "controller", "NAME", "name of the controller's agent", "Controller" } },
    };
    return samples::runSample(
        info, samples::operatorFamily,
        [](const samples::Options& options) { return std::make_unique<OperatorAgent>(options); }, argc, argv);
}
