// SPDX-License-Identifier: Apache-2.0
// What the user asks of a recorder: connecting, recording, the list of records.
#include "actions.h"

#include <QtCore/QDateTime>

namespace {

QString anyName(World& world)
{
    return world.random.pick({ "Night / shift", "Day", "night / shift", "a \"quoted\" name", "Recorder", "-rec", "R\u00e9" });
}

// ---- connection -------------------------------------------------------------------------------------------------

bool connectAgent(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    // Starting a process takes its time: mostly those that a launcher would start.
    if (!instance || (instance->encounteredAgentsOnHost()->isAttachedToCorvane() && !world.random.chance(10))) {
        return false;
    }
    world.messages.allow(QStringLiteral("not found."));
    instance->connectAgent();
    return true;
}

bool disconnectAgent(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    world.messages.allow(QStringLiteral("does not accept being stopped from here"));
    instance->disconnectAgent();
    return true;
}

bool askForName(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    instance->isRecorderNameAlreadyUsed(anyName(world));
    return true;
}

bool updateName(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    world.allowRenaming();
    instance->updateName(anyName(world));
    return true;
}

// To another launch line of its class instance.
bool retarget(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    EncounteredAgentsOnHost* const group = world.random.pick(instance->instance()->encounteredAgentsOnHosts());
    if (group->encounteredAgentInfos().isEmpty()) {
        return false;
    }
    instance->onEncounteredAgentsOnHostCreated(group, world.random.pick(group->encounteredAgentInfos()));
    return true;
}

// ---- recording --------------------------------------------------------------------------------------------------

bool startRecording(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    world.allowOff(*instance, "record");
    instance->startRecording();
    if (instance->isOn()) {
        world.expected(*instance).startRecording();
    }
    return true;
}

bool stopRecording(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    world.allowOff(*instance, "stop_recording");
    instance->stopRecording();
    world.expected(*instance).stopRecording();
    return true;
}

bool pauseRecording(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    world.allowOff(*instance, "pause_record");
    if (!instance->isRecording()) {
        world.messages.allow(QStringLiteral("Instance is not recording. Can not call service 'pause_record'"));
    }
    instance->pauseRecording();
    return true;
}

bool resumeRecording(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    world.allowOff(*instance, "resume_record");
    if (!instance->isRecording()) {
        world.messages.allow(QStringLiteral("Instance is not recording. Can not call service 'resume_record'"));
    }
    instance->resumeRecording();
    return true;
}

bool endSilence(World& world)
{
    for (RecorderInstance* instance : world.instances()) {
        if (World::isRecordingTimerActive(*instance) && world.random.chance(50)) {
            world.journal.note(world.label(instance));
            world.allowOff(*instance, "get_records");
            World::expireRecordingTimer(*instance);
            world.expected(*instance).stopRecording();
            return true;
        }
    }
    return false;
}

bool updateFilters(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    world.allowOff(*instance, "set_record_filters");
    instance->updateRecordFilters(world.random.pick({ "", "agent=pump", "*" }));
    return true;
}

bool editFilters(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    instance->setrecordFilters(world.random.pick({ "", "agent=pump", "*" }));
    return true;
}

// ---- list of records --------------------------------------------------------------------------------------------

bool getRecords(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    world.allowOff(*instance, "get_records");
    instance->getRecords(world.random.pick({ "", "shift" }));
    return true;
}

bool askForRecordName(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    instance->isRecordNameAlreadyUsed(anyName(world));
    return true;
}

bool renameRecord(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    RecorderRecord* const record = instance ? world.anyRecord(*instance) : nullptr;
    if (!record) {
        return false;
    }
    const QString name = anyName(world);
    world.allowOff(*instance, "rename");
    instance->updateRecordName(record, name);
    if (instance->isOn()) {
        world.expected(*instance).renamed(record->uuid(), name);
    }
    return true;
}

bool deleteRecord(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    RecorderRecord* const record = world.anyRecord(*instance);
    if (record) {
        world.allowOff(*instance, "delete");
        world.journal.note(record->uuid());
        if (instance->isOn()) {
            world.expected(*instance).deleted(record->uuid());
        }
        Q_EMIT instance->confirmRecordDeletion(record);
    }
    instance->deleteRecord(record);
    return true;
}

} // namespace

const QList<Action> COMMAND_ACTIONS {
    { "connectAgent", 10, connectAgent },
    { "disconnectAgent", 15, disconnectAgent },
    { "isRecorderNameAlreadyUsed", 10, askForName },
    { "updateName", 15, updateName },
    { "onEncounteredAgentsOnHostCreated", 5, retarget },
    { "startRecording", 50, startRecording },
    { "stopRecording", 50, stopRecording },
    { "pauseRecording", 30, pauseRecording },
    { "resumeRecording", 30, resumeRecording },
    { "the recording timer expires", 40, endSilence },
    { "updateRecordFilters", 20, updateFilters },
    { "recordFilters written", 15, editFilters },
    { "getRecords", 30, getRecords },
    { "isRecordNameAlreadyUsed", 10, askForRecordName },
    { "updateRecordName", 30, renameRecord },
    { "deleteRecord", 40, deleteRecord },
};
