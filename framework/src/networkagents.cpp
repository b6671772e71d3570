// SPDX-License-Identifier: Apache-2.0
#include "networkagents.h"

#include <QCoreApplication>

#include <quenary.h>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <memory>
#include <netinet/in.h>

namespace {

bool isAddressOfThisMachine(const QString& address)
{
    if (address.startsWith(QLatin1String("127."))) {
        return true;
    }
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return false;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(first, &freeifaddrs);
    const QByteArray wanted = address.toLatin1();
    for (const ifaddrs* each = first; each != nullptr; each = each->ifa_next) {
        const int family = each->ifa_addr == nullptr ? AF_UNSPEC : each->ifa_addr->sa_family;
        const void* bytes = nullptr;
        if (family == AF_INET) {
            bytes = &reinterpret_cast<const sockaddr_in*>(each->ifa_addr)->sin_addr;
        } else if (family == AF_INET6) {
            bytes = &reinterpret_cast<const sockaddr_in6*>(each->ifa_addr)->sin6_addr;
        }
        char text[INET6_ADDRSTRLEN] = "";
        if (bytes != nullptr && inet_ntop(family, bytes, text, sizeof text) != nullptr && wanted == text) {
            return true;
        }
    }
    return false;
}

} // namespace

// The library's thread calls in here. It copies and posts; the application object outlives the observation, because the
// observation ends in its post routine.
struct NetworkAgentsCallback
{
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
        copy.arguments.reserve(static_cast<qsizetype>(agent->arguments_count));
        for (size_t i = 0; i < agent->arguments_count; ++i) {
            copy.arguments.append(QString::fromUtf8(agent->arguments[i]));
        }
        copy.definition = QString::fromUtf8(agent->definition);
        copy.standIn = agent->stand_in;
        copy.stoppable = agent->stoppable;
        copy.isOfThisMachine = isAddressOfThisMachine(copy.address);
        QMetaObject::invokeMethod(self, [self, event, copy] { self->_onEvent(event, copy); }, Qt::QueuedConnection);
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
            Q_EMIT agentExited(_agents.takeAt(index));
        }
        break;
    default:
        qWarning("Unknown kind of network event %d for agent '%s'", event, qUtf8Printable(agent.name));
    }
}
