// SPDX-License-Identifier: Apache-2.0
#include "models/controller.h"
#include "common/changed.h"
#include "common/families.h"
#include "common/inputs.h"
#include "common/runner.h"

#include <mutex>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

class ControllerAgent : public samples::SampleAgent
{
public:
    explicit ControllerAgent(const samples::Options& options)
        : _tank(options.own.at("tank"))
        , _commander(options.own.at("operator"))
    {
    }

    ~ControllerAgent() override
    {
        // Both wait for a callback that runs, so that none finds this object gone.
        qny_service_remove("log");
        qny_input_remove("acknowledge");
    }

    void declare(samples::Publisher& publisher) override
    {
        publisher.declare("speed_a", QNY_DOUBLE_T);
        publisher.declare("speed_b", QNY_DOUBLE_T);
        publisher.declare("error", QNY_DOUBLE_T);
        publisher.declare("cycle", QNY_INTEGER_T);
        publisher.declare("pump_b_on", QNY_BOOL_T);
        publisher.declare("alarm", QNY_STRING_T);
        publisher.declare("log", QNY_STRING_T);
        publisher.declare("acknowledged", QNY_INTEGER_T);
        samples::createNumberInput("level", 0.0);
        samples::createNumberInput("set_point", 50.0);
        samples::createBooleanInput("automatic", true);
        samples::createInput("acknowledge", QNY_IMPULSE_T, nullptr, 0);
        samples::mapInput("level", _tank, "level");
        samples::mapInput("set_point", _commander, "set_point");
        samples::mapInput("automatic", _commander, "automatic");
        samples::mapInput("acknowledge", _commander, "acknowledge");
        if (qny_observe_input("acknowledge", _onAcknowledge, this) != QNY_SUCCESS
            || qny_service_init("log", _onLog, this) != QNY_SUCCESS
            || qny_service_arg_add("log", "text", QNY_STRING_T) != QNY_SUCCESS) {
            throw std::runtime_error(qny_last_error());
        }
    }

    std::chrono::microseconds period() const override { return std::chrono::milliseconds(20); }

    void step(std::uint64_t tick, samples::Publisher& publisher) override
    {
        _model.step(std::chrono::duration<double>(period()).count(), qny_input_double("set_point"),
            qny_input_double("level"), qny_input_bool("automatic"));
        publisher.integer("cycle", static_cast<std::int32_t>(tick & 0x7FFFFFFFU)); // 50 a second
        publisher.number("speed_a", _model.firstSpeed());
        publisher.number("speed_b", _model.secondSpeed());
        if (samples::isDue(tick, 5)) {
            publisher.number("error", _model.error()); // 10 a second
        }
        if (_secondIsOn.to(_model.secondIsOn())) {
            publisher.boolean("pump_b_on", _model.secondIsOn());
        }
        if (_alarm.to(_model.alarm())) {
            publisher.text("alarm", _model.alarm());
        }
        _publishHeard(publisher);
    }

private:
    void _publishHeard(samples::Publisher& publisher)
    {
        std::vector<std::string> texts;
        std::int32_t acknowledged = 0;
        {
            const std::lock_guard lock(_mutex);
            texts.swap(_heardTexts);
            acknowledged = _heardAcknowledgements;
        }
        for (const auto& text : texts) {
            publisher.text("log", text);
        }
        if (_acknowledged.to(acknowledged)) {
            publisher.integer("acknowledged", acknowledged);
        }
    }

    // The library's callback thread calls both.
    static void _onAcknowledge(qny_io_kind_t, const char*, qny_value_type_t, void*, std::size_t, void* self)
    {
        auto* agent = static_cast<ControllerAgent*>(self);
        const std::lock_guard lock(agent->_mutex);
        ++agent->_heardAcknowledgements;
    }

    static void _onLog(const char* sender, const char*, const char*, qny_service_arg_t* first, std::size_t count,
        const char*, void* self)
    {
        auto* agent = static_cast<ControllerAgent*>(self);
        if (count != 1 || first->type != QNY_STRING_T) {
            std::fprintf(stderr, "log: a call of %s without exactly one text was ignored\n", sender);
            return;
        }
        const std::lock_guard lock(agent->_mutex);
        // A caller that never stops must not fill the memory between two steps.
        constexpr std::size_t mostWaiting = 1000;
        if (agent->_heardTexts.size() < mostWaiting) {
            agent->_heardTexts.push_back(std::string(sender) + ": " + first->c);
        }
    }

    samples::ControllerModel _model;
    std::string _tank;
    std::string _commander;
    samples::Changed<bool> _secondIsOn;
    samples::Changed<std::string> _alarm;
    samples::Changed<std::int32_t> _acknowledged;

    std::mutex _mutex; // guards what the callbacks leave for the next step
    std::vector<std::string> _heardTexts;
    std::int32_t _heardAcknowledgements = 0;
};

} // namespace

int main(int argc, char** argv)
{
    const samples::ProgramInfo info {
        "qnySampleController",
        "The controller of the sample plant: keeps the tank's level at the operator's set point.",
        "Controller",
        "",
        { { "tank", "NAME", "name of the tank's agent", "Tank" },
            { "operator", "NAME", "name of the operator's agent", "Operator" } },
    };
    return samples::runSample(
        info, samples::controllerFamily,
        [](const samples::Options& options) { return std::make_unique<ControllerAgent>(options); }, argc, argv);
}
