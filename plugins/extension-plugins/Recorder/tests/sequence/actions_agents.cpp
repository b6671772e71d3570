// SPDX-License-Identifier: Apache-2.0
// Agents that come to the network and leave it.
#include "actions.h"

#include "modulefixture.h"

#include <host.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

namespace {

constexpr qsizetype MOST_AGENTS = 6;
constexpr qsizetype MOST_INSTANCES = 8;

bool enter(World& world, QuenaryDouble::Agent agent)
{
    static int count = 0;
    agent.uuid = QStringLiteral("agent-%1").arg(++count);
    agent.stoppable = world.random.chance(80);
    world.journal.note(agent.name + u' ' + agent.arguments.join(u' ') + QStringLiteral(" on ") + agent.hostName);
    world.messages.allow(QStringLiteral("Multiple recorder instance detected with same command line."));
    world.agents.append(agent);
    QuenaryDouble::enter(agent);
    return true;
}

bool isFull(const World& world)
{
    return world.agents.size() >= MOST_AGENTS;
}

bool startAgent(World& world)
{
    const RecorderInstance* const instance = world.anyInstance();
    if (!instance || isFull(world) || (instance->isOn() && world.instances().size() >= MOST_INSTANCES)) {
        return false;
    }
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(const_cast<RecorderInstance*>(instance), QString());
    agent.hostName = instance->encounteredAgentsOnHost()->host()->networkName();
    world.journal.note(world.label(instance));
    return enter(world, agent);
}

bool startAgentOtherwise(World& world)
{
    const RecorderInstance* const instance = world.anyInstance();
    if (!instance || isFull(world) || world.instances().size() >= MOST_INSTANCES) {
        return false;
    }
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(const_cast<RecorderInstance*>(instance), QString());
    agent.arguments = QStringList { QStringLiteral("--name"), agent.name, QStringLiteral("--cassandra"),
        world.random.pick({ "db:9042", "fourth:9042" }), QStringLiteral("--cassandra_password"),
        QStringLiteral("********") };
    if (world.random.chance(40)) {
        agent.hostName = QStringLiteral("elsewhere");
        agent.executable = QStringLiteral("/opt/recorder/qnyRecorder");
    }
    return enter(world, agent);
}

bool startStranger(World& world)
{
    if (isFull(world)) {
        return false;
    }
    QuenaryDouble::Agent agent;
    agent.name = QStringLiteral("Stranger");
    agent.family = ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID;
    agent.hostName = QStringLiteral("elsewhere");
    agent.executable = QStringLiteral("/opt/recorder/qnyRecorder");
    agent.arguments = QStringList { QStringLiteral("--name"), agent.name };
    return enter(world, agent);
}

bool startStandIn(World& world)
{
    const RecorderInstance* const instance = world.anyInstance();
    if (!instance || isFull(world)) {
        return false;
    }
    QuenaryDouble::Agent agent = ModuleFixture::agentOf(const_cast<RecorderInstance*>(instance), QString());
    agent.standIn = true;
    return enter(world, agent);
}

bool startLauncher(World& world)
{
    if (isFull(world)) {
        return false;
    }
    QuenaryDouble::Agent agent;
    agent.name = QStringLiteral("Launcher");
    agent.family = ReservedAgentAndToolFamilies::LAUNCHER_CLASS_UUID;
    agent.hostName = QStringLiteral("elsewhere");
    return enter(world, agent);
}

bool endAgent(World& world)
{
    if (world.agents.isEmpty()) {
        return false;
    }
    const QuenaryDouble::Agent agent = world.agents.takeAt(world.random.below(world.agents.size()));
    world.journal.note(agent.uuid);
    // Of a stand-in, of one that several lines stood for, and of one whose instance was deleted.
    world.messages.allow(QStringLiteral("isn't linked to any RecorderInstance"));
    QuenaryDouble::leave(agent.uuid);
    return true;
}

bool endUnknownAgent(World&)
{
    QuenaryDouble::leave(QStringLiteral("nobody"));
    return true;
}

bool updateAgent(World& world)
{
    if (world.agents.isEmpty()) {
        return false;
    }
    QuenaryDouble::Agent& agent = world.agents[world.random.below(world.agents.size())];
    agent.definition = world.random.pick({ "{}", "{\"inputs\":[]}" });
    agent.stoppable = world.random.chance(50);
    QuenaryDouble::enter(agent);
    return true;
}

bool placeAgent(World& world)
{
    if (!World::view() || World::document()->unplacedAgents().isEmpty()
        || World::recorderClassInstances().size() > 2) {
        return false;
    }
    world.messages.allow(QStringLiteral("was not placed"));
    SystemDocumentHandler::instance()->placeAgent(world.random.pick(World::document()->unplacedAgents()));
    return true;
}

} // namespace

const QList<Action> AGENT_ACTIONS {
    { "startAgent", 120, startAgent, true },
    { "startAgentOtherwise", 15, startAgentOtherwise, true },
    { "startStranger", 8, startStranger, true },
    { "startStandIn", 5, startStandIn, true },
    { "startLauncher", 5, startLauncher, true },
    { "endAgent", 60, endAgent, true },
    { "endUnknownAgent", 2, endUnknownAgent, true },
    { "updateAgent", 10, updateAgent, true },
    { "placeAgent", 8, placeAgent, true },
};
