// SPDX-License-Identifier: Apache-2.0
// What is true of the module and its registries.
#include "invariants.h"

#include "privatemember.h"

#include <systemdocument.h>
#include <systemviewclassinstance.h>

#include <algorithm>

using InstancesByUuid = QMultiHash<QString, QPointer<RecorderInstance>>;
static InstancesByUuid RecorderModule::*instancesByUuidOf = nullptr;
template struct OpenMember<instancesByUuidOf, &RecorderModule::_instancesByUuid>;

namespace {

const QStringList REPLY_SERVICES { QStringLiteral("context"), QStringLiteral("records"), QStringLiteral("record_uuid"),
    QStringLiteral("recording_stopped"), QStringLiteral("record_filters"), QStringLiteral("unloaded"),
    QStringLiteral("loading"), QStringLiteral("loaded"), QStringLiteral("loading_failed"),
    QStringLiteral("filter_applied"), QStringLiteral("paused"), QStringLiteral("moved_to"),
    QStringLiteral("receive_export"), QStringLiteral("replay_ended") };

QStringList sorted(QStringList texts)
{
    texts.sort();
    return texts;
}

// "what is and what should be", or nothing when they are the same.
QString difference(const QStringList& actual, const QStringList& expected)
{
    return actual == expected
        ? QString()
        : QStringLiteral("%1 instead of %2").arg(actual.join(QLatin1String(", ")), expected.join(QLatin1String(", ")));
}

QString recordersAreThoseOfTheView(World& world)
{
    QSet<const SystemViewClassInstance*> actual;
    for (const Recorder* recorder : world.recorders()) {
        actual.insert(recorder->classInstance());
    }
    const QList<SystemViewClassInstance*> all = World::recorderClassInstances();
    const QSet<const SystemViewClassInstance*> expected(all.begin(), all.end());
    return actual == expected && world.recorders().size() == expected.size()
        ? QString()
        : QStringLiteral("%1 instead of %2").arg(world.recorders().size()).arg(expected.size());
}

QString recordersAreSortedByName(World& world)
{
    QStringList names;
    QStringList sortedNames;
    for (int row = 0; row < world.module().recorders()->count(); ++row) {
        names.append(static_cast<Recorder*>(world.module().recorders()->itemAt(row))->classInstance()->name());
        auto* const recorder = qobject_cast<Recorder*>(world.module().sortedRecorders()->get(row));
        sortedNames.append(recorder ? recorder->classInstance()->name() : QStringLiteral("none"));
    }
    names.sort(Qt::CaseSensitive);
    return world.module().sortedRecorders()->count() == names.size() ? difference(sortedNames, names)
                                                                     : QStringLiteral("another number of rows");
}

QString inputsAreThoseOfTheInstances(World& world)
{
    QStringList expected;
    for (const RecorderInstance* instance : world.instances()) {
        expected += { instance->recordProgressInput(), instance->replayProgressInput() };
    }
    const QStringList actual = QuenaryDouble::inputs();
    return actual == expected ? QString() : difference(sorted(actual), sorted(expected));
}

QString replyServicesAreDeclaredOnce(World&)
{
    const QStringList actual = QuenaryDouble::services();
    return actual == REPLY_SERVICES ? QString() : difference(sorted(actual), sorted(REPLY_SERVICES));
}

QString currentRecorderIsOneOfThem(World& world)
{
    RecorderInstance* const current = world.module().currentRecorder();
    return !current || world.instances().contains(current) ? QString() : QStringLiteral("it is none of the lists");
}

QString tableOfTheModuleAgrees(World& world)
{
    const InstancesByUuid& table = world.module().*instancesByUuidOf;
    const QList<RecorderInstance*> instances = world.instances();
    for (RecorderInstance* instance : instances) {
        if (table.values(instance->uuid()) != QList<QPointer<RecorderInstance>>({ instance })) {
            return world.label(instance) + QStringLiteral(" is not found by its uuid");
        }
    }
    return table.size() == instances.size() ? QString() : QStringLiteral("it names instances that are gone");
}

// ---- registries -------------------------------------------------------------------------------------------------

QString registriesFindTheirInstances(World& world)
{
    for (Recorder* recorder : world.recorders()) {
        for (RecorderInstance* instance : world.instances()) {
            const bool isOwn = recorder->instances()->contains(instance);
            if (recorder->getRecorderInstanceWithUuid(instance->uuid()) != (isOwn ? instance : nullptr)) {
                return world.label(instance) + QStringLiteral(" by uuid");
            }
            RecorderInstance* const byAgent
                = recorder->getRecorderInstanceWithAgentUuid(instance->agentInstanceUuid());
            if (byAgent != (isOwn && instance->isOn() ? instance : nullptr)) {
                return world.label(instance) + QStringLiteral(" by agent");
            }
        }
        // The others were looked for when they went.
        if (!world.deadUuids.isEmpty() && recorder->getRecorderInstanceWithUuid(world.deadUuids.last())) {
            return QStringLiteral("an instance that is gone is found");
        }
    }
    return QString();
}

QString instancesAreOfTheirClassInstance(World& world)
{
    for (const Recorder* recorder : world.recorders()) {
        for (const RecorderInstance* instance : recorder->recorderInstances()) {
            if (instance->instance() != recorder->classInstance() || instance->systemView() != World::view()
                || instance->name() != recorder->classInstance()->name()) {
                return world.label(instance);
            }
        }
    }
    return QString();
}

QString instancesAreSortedByDatabase(World& world)
{
    for (Recorder* recorder : world.recorders()) {
        QSet<const QObject*> shown;
        const RecorderInstance* before = nullptr;
        for (int row = 0; row < recorder->sortedInstances()->count(); ++row) {
            auto* const instance = qobject_cast<RecorderInstance*>(recorder->sortedInstances()->get(row));
            if (!instance || !recorder->instances()->contains(instance)
                || (before && before->cassandraEndpoint() > instance->cassandraEndpoint())) {
                return QStringLiteral("row %1").arg(row);
            }
            shown.insert(instance);
            before = instance;
        }
        if (shown.size() != recorder->instances()->count()) {
            return QStringLiteral("%1 of %2").arg(shown.size()).arg(recorder->instances()->count());
        }
    }
    return QString();
}

// Mapped are those that run, and those whose agent never left: the end of an agent takes its mappings away.
QString mappingsAgreeWithTheInstances(World& world)
{
    QStringList left = QuenaryDouble::mappings();
    for (const RecorderInstance* instance : world.instances()) {
        const QString record = QStringList { instance->recordProgressInput(), instance->name(),
            QStringLiteral("record_progress") }.join(u' ');
        const QString replay = QStringList { instance->replayProgressInput(), instance->name(),
            QStringLiteral("replay_progress") }.join(u' ');
        const bool hasRecord = left.removeOne(record);
        const bool hasReplay = left.removeOne(replay);
        if (hasRecord != hasReplay || (instance->isOn() && !hasRecord)) {
            return world.label(instance);
        }
    }
    return left.isEmpty() ? QString() : QStringLiteral("left over: ") + left.join(QLatin1String(", "));
}

QString whoIsOnIsOnTheNetwork(World& world)
{
    QStringList linked;
    for (const RecorderInstance* instance : world.instances()) {
        if (!instance->isOn()) {
            continue;
        }
        const auto agent = std::find_if(world.agents.cbegin(), world.agents.cend(),
            [instance](const QuenaryDouble::Agent& other) { return other.uuid == instance->agentInstanceUuid(); });
        if (agent == world.agents.cend() || agent->name != instance->name() || agent->standIn
            || linked.contains(agent->uuid)) {
            return world.label(instance);
        }
        linked.append(agent->uuid);
    }
    return QString();
}

} // namespace

const QList<Invariant> MODULE_INVARIANTS {
    { "the recorders are those of the current view", recordersAreThoseOfTheView },
    { "the sorted recorders are the same, by name", recordersAreSortedByName },
    { "the host's agent has two inputs for each instance and no others", inputsAreThoseOfTheInstances },
    { "every reply service is declared once", replyServicesAreDeclaredOnce },
    { "the current recorder is one of the lists", currentRecorderIsOneOfThem, true },
    { "the module finds each instance by its uuid, and none that is gone", tableOfTheModuleAgrees },
    { "a registry finds its own instances by their uuids, and those that are on by their agents",
        registriesFindTheirInstances },
    { "an instance is of its registry's class instance, and has its name", instancesAreOfTheirClassInstance },
    { "the sorted instances are the same, by database", instancesAreSortedByDatabase },
    { "both mappings of an instance are there or neither, under its name; and there while it is on",
        mappingsAgreeWithTheInstances },
    { "an instance that is on is linked to an agent of its name, which no other has", whoIsOnIsOnTheNetwork },
};

QString brokenInvariant(World& world)
{
    for (const QList<Invariant>* invariants : { &MODULE_INVARIANTS, &INSTANCE_INVARIANTS }) {
        for (const Invariant& invariant : *invariants) {
            if (invariant.holdsWhenSettled && !world.isSettled()) {
                continue;
            }
            const QString problem = invariant.problem(world);
            if (!problem.isEmpty()) {
                return QStringLiteral("broken: %1: %2").arg(QLatin1StringView(invariant.name), problem);
            }
        }
    }
    return QString();
}
