// SPDX-License-Identifier: Apache-2.0
#include "librarythread.h"
#include "state.h"

#include <QtCore/QUuid>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace QuenaryDouble {

namespace {

thread_local qny_result_t lastResult = QNY_SUCCESS;

State newState()
{
    State state;
    state.defaultAgent.name = QStringLiteral("unnamed");
    state.defaultAgent.uuid = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return state;
}

/// Owns the texts that a qny_agent_info_t points to.
class AgentInfo
{
public:
    AgentInfo(const Agent& agent, bool fellSilent)
    {
        for (const QString& argument : agent.arguments) {
            _arguments.push_back(argument.toUtf8());
        }
        for (const QByteArray& argument : _arguments) {
            _argumentPointers.push_back(argument.constData());
        }
        _info.uuid = _keep(agent.uuid);
        _info.name = _keep(agent.name);
        _info.family = _keep(agent.family);
        _info.peer_uuid = _keep(agent.uuid);
        _info.host_name = _keep(agent.hostName);
        _info.address = _keep(QStringLiteral("127.0.0.1"));
        _info.process_id = agent.processId;
        _info.executable = _keep(agent.executable);
        _info.arguments = _argumentPointers.data();
        _info.arguments_count = _argumentPointers.size();
        _info.definition = _keep(agent.definition);
        _info.stand_in = agent.standIn;
        _info.stoppable = agent.stoppable;
        _info.fell_silent = fellSilent;
    }
    const qny_agent_info_t* get() const { return &_info; }

private:
    const char* _keep(const QString& text)
    {
        _texts.push_back(std::make_unique<QByteArray>(text.toUtf8()));
        return _texts.back()->constData();
    }

    std::vector<std::unique_ptr<QByteArray>> _texts;
    std::vector<QByteArray> _arguments;
    std::vector<const char*> _argumentPointers;
    qny_agent_info_t _info {};
};

void announce(qny_agent_event_t event, const Agent& agent, bool fellSilent = false)
{
    QList<AgentObserver> observers;
    {
        const auto locker = lock();
        observers = state().agentObservers;
    }
    onLibraryThread([&] {
        const AgentInfo info(agent, fellSilent);
        for (const AgentObserver& observer : observers) {
            observer.callback(event, info.get(), observer.userData);
        }
    });
}

QStringList agentUuids()
{
    const auto locker = lock();
    QStringList uuids;
    for (const Agent& agent : std::as_const(state().agents)) {
        uuids.append(agent.uuid);
    }
    return uuids;
}

} // namespace

std::unique_lock<std::recursive_mutex> lock()
{
    static std::recursive_mutex mutex;
    return std::unique_lock(mutex);
}

State& state()
{
    static State instance = newState();
    return instance;
}

qny_result_t fail(qny_result_t result)
{
    lastResult = result;
    return result;
}

qny_result_t record(const char* function, const QStringList& arguments)
{
    const QString name = QString::fromLatin1(function);
    state().calls.append((QStringList(name) + arguments).join(u' '));
    for (const Script& script : std::as_const(state().scripts)) {
        if (script.function == name && (script.firstArgument.isNull() || script.firstArgument == arguments.value(0))) {
            return fail(script.result);
        }
    }
    return fail(QNY_SUCCESS);
}

void onLibraryThread(const std::function<void()>& action)
{
    static LibraryThread thread;
    thread.run(action);
}

bool isAgent(const qny_agent* agent)
{
    return agent == &state().defaultAgent
        || std::any_of(state().otherAgents.begin(), state().otherAgents.end(),
            [agent](const std::unique_ptr<qny_agent>& other) { return other.get() == agent; });
}

// ---- what tests use ---------------------------------------------------------------------------------------------

void reset()
{
    while (!agentUuids().isEmpty()) {
        leave(agentUuids().first());
    }
    const auto locker = lock();
    // Observers of agents stay: a program's observer may be made once for the process.
    const QList<AgentObserver> observers = state().agentObservers;
    state() = newState();
    state().agentObservers = observers;
}

QStringList calls()
{
    const auto locker = lock();
    return state().calls;
}

QStringList calls(const QStringList& functions)
{
    QStringList found;
    const QStringList all = calls();
    for (const QString& call : all) {
        if (functions.contains(call.section(u' ', 0, 0))) {
            found.append(call);
        }
    }
    return found;
}

QList<ServiceCall> serviceCalls()
{
    const auto locker = lock();
    return state().serviceCalls;
}

QStringList calledServices()
{
    QStringList names;
    const QList<ServiceCall> all = serviceCalls();
    for (const ServiceCall& call : all) {
        names.append(call.service);
    }
    return names;
}

void clearCalls()
{
    const auto locker = lock();
    state().calls.clear();
    state().serviceCalls.clear();
    state().stopRequests.clear();
}

void script(const QString& function, qny_result_t result, const QString& firstArgument)
{
    const auto locker = lock();
    state().scripts.removeIf(
        [&](const Script& script) { return script.function == function && script.firstArgument == firstArgument; });
    if (result != QNY_SUCCESS) {
        state().scripts.append({ function, firstArgument, result });
    }
}

bool callService(const QString& service, const QVariantList& arguments, const QString& token, const Sender& sender)
{
    return callServiceWithRawToken(service, arguments, token.isNull() ? QByteArray() : token.toUtf8(), sender);
}

bool callServiceWithRawToken(
    const QString& service, const QVariantList& arguments, const QByteArray& token, const Sender& sender)
{
    qny_agent::Service declared;
    {
        const auto locker = lock();
        const qny_agent::Service* const found = findNamed(state().defaultAgent.services, service.toUtf8().constData());
        if (!found || !found->callback) {
            return false;
        }
        declared = *found;
    }
    onLibraryThread([&] {
        qny_service_arg_t* list = nullptr;
        for (const QVariant& argument : arguments) {
            appendArgument(&list, argument);
        }
        declared.callback(sender.name.toUtf8().constData(), sender.uuid.toUtf8().constData(),
            service.toUtf8().constData(), list, static_cast<size_t>(arguments.size()),
            token.isNull() ? nullptr : token.constData(), declared.userData);
        qny_service_args_destroy(&list);
    });
    return true;
}

bool writeInput(const QString& input, const QVariant& value)
{
    qny_agent::Input written;
    RawValue raw;
    {
        const auto locker = lock();
        qny_agent::Input* const found = findNamed(state().defaultAgent.inputs, input.toUtf8().constData());
        if (!found) {
            return false;
        }
        if (value.canConvert<RawValue>()) {
            raw = value.value<RawValue>();
        } else if (const std::optional<RawValue> converted = convert(value, found->type)) {
            raw = *converted;
            found->value = value;
        } else {
            return true;
        }
        written = *found;
    }
    onLibraryThread([&] {
        QByteArray bytes = raw.bytes;
        void* const pointer = bytes.isNull() ? nullptr : bytes.data();
        const size_t size = static_cast<size_t>(bytes.size()) + (raw.type == QNY_STRING_T ? 1 : 0);
        const QByteArray name = input.toUtf8();
        for (const qny_agent::Observer& observer : std::as_const(written.observers)) {
            if (observer.callback) {
                observer.callback(QNY_INPUT_T, name.constData(), raw.type, pointer, size, observer.userData);
            }
        }
    });
    return true;
}

void enter(const Agent& agent)
{
    qny_agent_event_t event = QNY_AGENT_ENTERED;
    {
        const auto locker = lock();
        const auto isSame = [&agent](const Agent& other) { return other.uuid == agent.uuid; };
        if (state().agents.removeIf(isSame) > 0) {
            event = QNY_AGENT_UPDATED;
        }
        state().agents.append(agent);
    }
    announce(event, agent);
}

void leave(const QString& agentUuid, Exit how)
{
    Agent left;
    {
        const auto locker = lock();
        QList<Agent>& agents = state().agents;
        const auto found = std::find_if(
            agents.begin(), agents.end(), [&agentUuid](const Agent& agent) { return agent.uuid == agentUuid; });
        if (found == agents.end()) {
            return;
        }
        left = *found;
        agents.erase(found);
    }
    announce(QNY_AGENT_EXITED, left, how == Exit::FallsSilent);
}

bool requestStop(const Sender& sender)
{
    qny_stop_fn callback = nullptr;
    void* userData = nullptr;
    {
        const auto locker = lock();
        callback = state().stopCallback;
        userData = state().stopUserData;
    }
    if (!callback) {
        return false;
    }
    onLibraryThread([&] { callback(sender.name.toUtf8().constData(), sender.uuid.toUtf8().constData(), userData); });
    return true;
}

QStringList services()
{
    const auto locker = lock();
    QStringList names;
    for (const qny_agent::Service& service : std::as_const(state().defaultAgent.services)) {
        names.append(service.name);
    }
    return names;
}

QStringList inputs()
{
    const auto locker = lock();
    QStringList names;
    for (const qny_agent::Input& input : std::as_const(state().defaultAgent.inputs)) {
        names.append(input.name);
    }
    return names;
}

QStringList mappings()
{
    const auto locker = lock();
    return state().defaultAgent.mappings;
}

QStringList stopRequests()
{
    const auto locker = lock();
    return state().stopRequests;
}

} // namespace QuenaryDouble
