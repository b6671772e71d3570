// SPDX-License-Identifier: Apache-2.0
// What the user does with a record: loading, playing, moving, filtering.
#include "actions.h"

#include <QtCore/QUrl>

#include <limits>

namespace {

// An instance that has a record, mostly one that runs, and the record. Both noted in the journal.
struct Target
{
    explicit Target(World& world)
        : instance(world.random.chance(85) ? world.anyInstanceThatIsOn() : world.anyInstance())
        , record(instance ? world.anyRecord(*instance) : nullptr)
    {
        world.journal.note(world.label(instance));
        world.journal.note(record ? record->uuid() : QStringLiteral("no record"));
    }

    RecorderInstance* instance;
    RecorderRecord* record;
};

QString anyPath(World& world)
{
    return world.random.pick({ "", "/data/one.csv", "/data/two.csv" });
}

double anyTime(World& world)
{
    return world.random.pick({ 0.0, 1e-13, 0.5, 1.0, 2.5, 1e9, -3.0, std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN() });
}

// A stop pauses first, and says so when there is nothing to pause.
void allowStop(World& world, const RecorderInstance& instance)
{
    world.allowOff(instance, "move_to");
    world.messages.allow(QStringLiteral("Can not pause record"));
}

// ---- loading ----------------------------------------------------------------------------------------------------

bool loadRecord(World& world)
{
    const Target target(world);
    if (!target.instance) {
        return false;
    }
    if (target.record) {
        world.allowOff(*target.instance, "load");
        if (target.instance->isOn()) {
            world.expected(*target.instance).stopRunningRecording();
        }
    }
    target.instance->loadRecord(target.record);
    return true;
}

bool loadRecordFile(World& world)
{
    const Target target(world);
    if (!target.instance) {
        return false;
    }
    const QString path = anyPath(world);
    world.allowOff(*target.instance, "load_file");
    if (target.instance->isOn() && !path.isEmpty()) {
        world.expected(*target.instance).stopRunningRecording();
    }
    if (world.random.chance(50)) {
        target.instance->loadRecordFile(path);
    } else {
        target.instance->loadRecordUrl(path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path));
    }
    return true;
}

bool dropFile(World& world)
{
    const Target target(world);
    if (!target.instance) {
        return false;
    }
    target.instance->recordCsvFileDropped(
        world.random.pick({ QUrl(), QUrl("http://elsewhere/a.csv"), QUrl("file:///data/one.csv") }));
    return true;
}

bool unloadRecord(World& world)
{
    const Target target(world);
    if (!target.instance) {
        return false;
    }
    world.allowOff(*target.instance, "unload");
    target.instance->unloadRecord(target.record);
    return true;
}

// ---- playing ----------------------------------------------------------------------------------------------------

bool playRecord(World& world)
{
    const Target target(world);
    if (!target.record) {
        return false;
    }
    world.allowOff(*target.instance, "play");
    if (target.record->isReplaying()) {
        world.messages.allow(QStringLiteral("because it is already playing"));
    }
    target.instance->playRecord(target.record);
    return true;
}

bool pauseRecord(World& world)
{
    const Target target(world);
    if (!target.record) {
        return false;
    }
    world.allowOff(*target.instance, "pause");
    if (!target.record->isReplaying()) {
        world.messages.allow(QStringLiteral("Can not pause record"));
    }
    target.instance->pauseRecord(target.record);
    return true;
}

bool stopRecord(World& world)
{
    const Target target(world);
    if (!target.record) {
        return false;
    }
    allowStop(world, *target.instance);
    target.instance->stopRecord(target.record);
    return true;
}

bool moveTime(World& world)
{
    const Target target(world);
    if (!target.instance || !target.instance->currentRecord()) {
        return false;
    }
    world.allowOff(*target.instance, "move_to");
    target.instance->moveCurrentRecordTime(anyTime(world));
    return true;
}

bool typeTime(World& world)
{
    const Target target(world);
    if (!target.instance) {
        return false;
    }
    world.allowOff(*target.instance, "move_to");
    world.messages.allow(QStringLiteral("isn't part of the timeline"));
    target.instance->updateCurrentRecordTime(
        world.random.pick({ "", "0", "00:01", "1.5", "00:00:02.500", "99:00:00", "-1", "soon" }));
    return true;
}

bool chooseSpeed(World& world)
{
    const Target target(world);
    if (!target.record) {
        return false;
    }
    Speed* const speed = target.record->speeds()->isEmpty() || world.random.chance(10)
        ? nullptr
        : static_cast<Speed*>(target.record->speeds()->itemAt(world.random.below(target.record->speeds()->count())));
    world.allowOff(*target.instance, "speed");
    target.instance->updateRecordSpeed(target.record, speed);
    return true;
}

// ---- filtering --------------------------------------------------------------------------------------------------

bool checkAgent(World& world)
{
    const Target target(world);
    if (!target.record || target.record->agentsFilters()->isEmpty()) {
        return false;
    }
    auto* const filter = static_cast<RecordAgentFilter*>(
        target.record->agentsFilters()->itemAt(world.random.below(target.record->agentsFilters()->count())));
    filter->setchecked(world.random.chance(50));
    return true;
}

bool applyFilter(World& world)
{
    const Target target(world);
    if (!target.record) {
        return false;
    }
    world.allowOff(*target.instance, "filter_replaying_agents");
    target.instance->updateRecordAgentsFilter(target.record);
    return true;
}

bool filterWasEdited(World& world)
{
    const Target target(world);
    if (!target.instance) {
        return false;
    }
    world.allowOff(*target.instance, "filter_replaying_agents");
    allowStop(world, *target.instance);
    target.instance->beforeUpdateRecordAgentsFilter(world.random.chance(5) ? nullptr : target.record);
    return true;
}

} // namespace

const QList<Action> REPLAY_ACTIONS {
    { "loadRecord", 60, loadRecord },
    { "loadRecordFile", 30, loadRecordFile },
    { "recordCsvFileDropped", 10, dropFile },
    { "unloadRecord", 20, unloadRecord },
    { "playRecord", 60, playRecord },
    { "pauseRecord", 40, pauseRecord },
    { "stopRecord", 40, stopRecord },
    { "moveCurrentRecordTime", 50, moveTime },
    { "updateCurrentRecordTime", 30, typeTime },
    { "updateRecordSpeed", 40, chooseSpeed },
    { "setchecked", 80, checkAgent },
    { "updateRecordAgentsFilter", 30, applyFilter },
    { "beforeUpdateRecordAgentsFilter", 50, filterWasEdited },
};
