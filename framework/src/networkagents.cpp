// SPDX-License-Identifier: Apache-2.0
#include "networkagents.h"

#include <QCoreApplication>
#include <QHash>

#include <quenary.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>

namespace {

bool isAddressOfThisMachine(const QString& address)
{
    if (address.startsWith(QLatin1String("127."))) {
        return true;
    }
    size_t count = 0;
    const std::unique_ptr<qny_device_t, decltype(&qny_free)> devices(qny_devices(&count), &qny_free);
    return std::any_of(devices.get(), devices.get() + count,
        [wanted = address.toLatin1()](const qny_device_t& device) { return wanted == device.address; });
}

} // namespace

// The library's thread calls in here. It copies and posts; the application object outlives the observation, because the
// observation ends in its post routine.
struct NetworkAgentsCallback
{
    // What the main thread has not heard yet. Agents may come, go and change faster than that can be shown: of each
    // waits what it all comes down to, at most that it left and that it is there again.
    struct Waiting
    {
        quint64 number = 0;
        int event = 0;
        NetworkAgent agent;
    };
    static constexpr qsizetype MOST_PROGRAMS = 512;

    std::mutex mutex;
    QHash<QString, QList<Waiting>> waiting; // by agent
    quint64 lastNumber = 0;
    QHash<QByteArray, QStringList> arguments; // by process; of the library's thread alone

    static NetworkAgentsCallback& instance()
    {
        static auto* const self = new NetworkAgentsCallback; // as long as NetworkAgents
        return *self;
    }

    // One copy for all agents of a process, whatever becomes of them: a command line may be long.
    QStringList argumentsOf(const qny_agent_info_t* agent)
    {
        if (agent->arguments_count == 0) {
            return {};
        }
        if (arguments.size() > MOST_PROGRAMS) {
            arguments.clear();
        }
        QStringList& known = arguments[agent->peer_uuid];
        const char* const* const first = agent->arguments;
        const bool isSame = std::equal(known.cbegin(), known.cend(), first, first + agent->arguments_count,
            [](const QString& one, const char* other) { return QAnyStringView(one) == QAnyStringView(other); });
        if (!isSame) {
            known.clear();
            known.reserve(static_cast<qsizetype>(agent->arguments_count));
            for (size_t i = 0; i < agent->arguments_count; ++i) {
                known.append(QString::fromUtf8(first[i]));
            }
        }
        return known;
    }

    // Zero when nothing new is to be heard.
    quint64 put(int event, const NetworkAgent& agent)
    {
        const std::lock_guard lock(mutex);
        QList<Waiting>& list = waiting[agent.uuid];
        const int before = list.isEmpty() ? int { QNY_AGENT_EXITED } : list.constLast().event;
        if (before != QNY_AGENT_EXITED && event != QNY_AGENT_EXITED) {
            list.last().agent = agent;
            return 0;
        }
        if (before != QNY_AGENT_EXITED) {
            list.removeLast();
        }
        if (before == QNY_AGENT_ENTERED) {
            if (list.isEmpty()) {
                waiting.remove(agent.uuid);
            }
            return 0; // it came and went
        }
        list.append({ ++lastNumber, event, agent });
        return lastNumber;
    }

    std::optional<Waiting> take(const QString& uuid, quint64 number)
    {
        const std::lock_guard lock(mutex);
        const auto list = waiting.find(uuid);
        if (list == waiting.end() || list->constFirst().number != number) {
            return std::nullopt;
        }
        Waiting taken = list->takeFirst();
        if (list->isEmpty()) {
            waiting.erase(list);
        }
        return taken;
    }

    static void onEvent(qny_agent_event_t event, const qny_agent_info_t* agent, void* userData)
    {
        auto* self = static_cast<NetworkAgents*>(userData);
        NetworkAgent copy;
        copy.uuid = QString::fromUtf8(agent->uuid);
        copy.name = QString::fromUtf8(agent->name);
        copy.familyUuid = QString::fromUtf8(agent->family);
        copy.hostName = QString::fromUtf8(agent->host_name);
        copy.address = QString::fromUtf8(agent->address);
        copy.processId = agent->process_id;
        copy.executable = QString::fromUtf8(agent->executable);
        copy.arguments = instance().argumentsOf(agent);
        copy.definition = QString::fromUtf8(agent->definition);
        copy.publicKey = QString::fromUtf8(agent->public_key);
        copy.certificateName = QString::fromUtf8(agent->certificate_name);
        copy.standIn = agent->stand_in;
        copy.stoppable = agent->stoppable;
        copy.isOfThisMachine = isAddressOfThisMachine(copy.address);
        // When it is this process that leaves the network, the others stay.
        copy.hasTakenLeave = event == QNY_AGENT_EXITED && !agent->fell_silent && qny_is_started();
        const quint64 number = instance().put(event, copy);
        if (number == 0) {
            return;
        }
        QMetaObject::invokeMethod(
            self,
            [self, number, uuid = copy.uuid] {
                if (const auto heard = instance().take(uuid, number)) {
                    self->_onEvent(heard->event, heard->agent);
                }
            },
            Qt::QueuedConnection);
    }
};

NetworkAgents* NetworkAgents::instance()
{
    // Never deleted: a late event may still stand in the main thread's queue when the process ends.
    static NetworkAgents* const self = new NetworkAgents;
    return self;
}

NetworkAgents::NetworkAgents()
{
    if (QCoreApplication::instance() != nullptr) {
        moveToThread(QCoreApplication::instance()->thread());
    }
    if (qny_observe_agents(&NetworkAgentsCallback::onEvent, this) != QNY_SUCCESS) {
        qCritical("The agents of the network cannot be observed: %s", qny_last_error());
    }
    qAddPostRoutine([] { qny_unobserve_agents(&NetworkAgentsCallback::onEvent, NetworkAgents::instance()); });
}

NetworkAgents::~NetworkAgents() = default;

QList<NetworkAgent> NetworkAgents::agents() const
{
    return _agents;
}

bool NetworkAgents::contains(const QString& uuid) const
{
    for (const NetworkAgent& agent : _agents) {
        if (agent.uuid == uuid) {
            return true;
        }
    }
    return false;
}

void NetworkAgents::_onEvent(int event, const NetworkAgent& agent)
{
    qsizetype index = 0;
    while (index < _agents.size() && _agents.at(index).uuid != agent.uuid) {
        ++index;
    }
    const bool isKnown = index < _agents.size();
    switch (event) {
    case QNY_AGENT_ENTERED:
    case QNY_AGENT_UPDATED:
        if (!isKnown) {
            _agents.append(agent);
            Q_EMIT agentEntered(agent);
        } else {
            _agents[index] = agent;
            Q_EMIT agentUpdated(agent);
        }
        break;
    case QNY_AGENT_EXITED:
        if (isKnown) {
            // As it was met: this machine may have another address by now.
            NetworkAgent exited = _agents.takeAt(index);
            exited.hasTakenLeave = agent.hasTakenLeave;
            Q_EMIT agentExited(exited);
        }
        break;
    default:
        qWarning("Unknown kind of network event %d for agent '%s'", event, qUtf8Printable(agent.name));
    }
}
