// SPDX-License-Identifier: Apache-2.0
// What is true of each instance and of its records.
#include "invariants.h"

#include "privatemember.h"
#include "propertywatch.h"
#include "recordagentfilter.h"

#include <QtCore/QFile>

#include <algorithm>

using RecordsByUuid = QHash<QString, RecorderRecord*>;
static RecordsByUuid RecorderInstance::*recordsByUuidOf = nullptr;
template struct OpenMember<recordsByUuidOf, &RecorderInstance::_recordsByUuid>;

namespace {

QList<RecorderRecord*> listedRecords(const RecorderInstance& instance)
{
    return static_cast<ZqCustomItemListModel<RecorderRecord>*>(const_cast<RecorderInstance&>(instance).records())
        ->toList();
}

template <bool (*holds)(const RecorderInstance&)> QString forEachInstance(World& world)
{
    for (const RecorderInstance* instance : world.instances()) {
        if (!holds(*instance)) {
            return world.label(instance);
        }
    }
    return QString();
}

template <bool (*holds)(RecorderRecord&)> QString forEachRecord(World& world)
{
    for (RecorderRecord* record : world.records()) {
        if (!holds(*record)) {
            return QStringLiteral("record ") + record->uuid();
        }
    }
    return QString();
}

// ---- instances --------------------------------------------------------------------------------------------------

bool isOnWithAnAgent(const RecorderInstance& instance)
{
    const QString agentUuid = instance.runningAgentInfo() ? instance.runningAgentInfo()->agentUuid() : QString();
    return instance.isOn() == !instance.agentInstanceUuid().isEmpty() && instance.agentInstanceUuid() == agentUuid;
}

bool replaysWithItsRecord(const RecorderInstance& instance)
{
    return instance.isReplaying() == (instance.currentRecord() && instance.currentRecord()->isReplaying());
}

bool stopsByMoving(const RecorderInstance& instance)
{
    return !instance.isStoppingRecord() || instance.isMovingRecord();
}

bool isRunnableByItsLine(const RecorderInstance& instance)
{
    return instance.isRunnable()
        == (instance.encounteredAgentsOnHost()->isAttachedToCorvane()
            || instance.encounteredAgentInfo()->canBeLaunched());
}

bool keepsItsEndpoint(const RecorderInstance& instance)
{
    const QString endpoint = instance.cassandraEndpoint();
    return instance.offlineMode() == endpoint.isEmpty()
        && instance.cassandraEndpointUrl() == (endpoint.isEmpty() ? QUrl() : QUrl(QStringLiteral("tcp://") + endpoint));
}

bool showsPercents(const RecorderInstance& instance)
{
    const auto isPercent = [](int value) { return value >= 0 && value <= 100; };
    return isPercent(instance.loadingProgress()) && isPercent(instance.exportingProgress())
        && isPercent(instance.importingProgress());
}

bool hasAFileOpenWhileItDownloads(const RecorderInstance& instance)
{
    const QList<QFile*> files = instance.findChildren<QFile*>(Qt::FindDirectChildrenOnly);
    const auto open = std::count_if(files.begin(), files.end(), [](const QFile* file) { return file->isOpen(); });
    return open == (instance.isDownloadingRecord() ? 1 : 0);
}

bool indexAgreesWithTheList(const RecorderInstance& instance)
{
    const RecordsByUuid& index = instance.*recordsByUuidOf;
    const QList<RecorderRecord*> listed = listedRecords(instance);
    return index.size() == listed.size() && std::all_of(listed.begin(), listed.end(), [&](RecorderRecord* record) {
        return !record->uuid().isEmpty() && index.value(record->uuid()) == record;
    });
}

bool currentRecordIsKnown(const RecorderInstance& instance)
{
    RecorderRecord* const current = instance.currentRecord();
    return !current || current == instance.recordFromFile() || listedRecords(instance).contains(current);
}

bool recordOfFileIsNotListed(const RecorderInstance& instance)
{
    return !instance.recordFromFile() || !listedRecords(instance).contains(instance.recordFromFile());
}

bool importsOnlyWhileOn(const RecorderInstance& instance)
{
    return instance.isOn() || !instance.isImportingRecord();
}

// ---- records ----------------------------------------------------------------------------------------------------

bool isAtItsPosition(RecorderRecord& record)
{
    return record.replayProgressInSecond() >= 0.0
        && record.replayIsAtStart() == (record.replayProgressInSecond() <= 1e-12);
}

bool hasAgentsAndSpeedsWhenLoaded(RecorderRecord& record)
{
    if (!record.isLoaded()) {
        return record.agentsFilters()->isEmpty() && record.speeds()->isEmpty() && !record.speed()
            && record.lastActiveAgentsFilter().isEmpty();
    }
    return record.speeds()->count() >= RECORD_SPEEDS.size() && record.speed()
        && record.speeds()->contains(record.speed());
}

QList<RecordAgentFilter*> filtersOf(RecorderRecord& record)
{
    return static_cast<ZqCustomItemListModel<RecordAgentFilter>*>(record.agentsFilters())->toList();
}

bool hasItsAgentsSorted(RecorderRecord& record)
{
    if (!record.isLoaded()) {
        return true; // and has none
    }
    const QList<RecordAgentFilter*> filters = filtersOf(record);
    const QStringList& last = record.lastActiveAgentsFilter();
    return std::is_sorted(filters.begin(), filters.end(),
               [](const RecordAgentFilter* left, const RecordAgentFilter* right) {
                   return record_compareAgents(left->name(), right->name());
               })
        && std::is_sorted(last.begin(), last.end(), record_compareAgents);
}

bool summarizesItsCheckMarks(RecorderRecord& record)
{
    const QList<RecordAgentFilter*> filters = filtersOf(record);
    QStringList checked;
    for (const RecordAgentFilter* filter : filters) {
        if (filter->checked()) {
            checked.append(filter->name());
        }
    }
    const bool areAll = checked.size() == filters.size();
    const Qt::CheckState state = areAll ? Qt::Checked : checked.isEmpty() ? Qt::Unchecked : Qt::PartiallyChecked;
    const QString recap = filters.isEmpty() ? QStringLiteral("No agent on record")
        : areAll                            ? QStringLiteral("All agents")
        : checked.isEmpty()                 ? QStringLiteral("No agent selected")
        : checked.size() == 1               ? checked.first()
                                            : QStringLiteral("%1 agents").arg(checked.size());
    return record.agentsFilterState() == state && record.agentsFilterRecap() == recap
        && record.getActiveAgentsFiltersAsStringList() == checked;
}

// Only when it went off just now: a stale answer sets some of it again, by the rules of that answer.
bool isAtRest(const RecorderInstance& instance)
{
    return !instance.isRecording() && !instance.isRecordingPaused() && instance.recordingProgressInSeconds() == 0.0
        && !World::isRecordingTimerActive(instance) && listedRecords(instance).isEmpty() && !instance.currentRecord()
        && !instance.recordFromFile() && !instance.isReplaying() && !instance.isLoadingRecord()
        && instance.loadingProgress() == 0 && !instance.isFilteringRecord() && !instance.isMovingRecord()
        && !instance.isStoppingRecord() && !instance.isWaitingToFilterAgents() && !instance.isDownloadingRecord()
        && instance.exportingProgress() == 0 && !instance.exportRecord() && !instance.isCancelingExport()
        && !instance.isImportingRecord() && instance.importingProgress() == 0 && !instance.isCancelingImport();
}

QString isAtRestWhenItWentOff(World& world)
{
    for (const QString& uuid : world.takeWentOff()) {
        const RecorderInstance* const instance = world.instanceWithUuid(uuid);
        if (instance && !isAtRest(*instance)) {
            return world.label(instance);
        }
    }
    return QString();
}

// ---- what is predicted ------------------------------------------------------------------------------------------

QString isAsExpected(World& world)
{
    for (const RecorderInstance* instance : world.instances()) {
        const QStringList differences = world.expected(*instance).differencesTo(*instance);
        if (!differences.isEmpty()) {
            return world.label(instance) + u' ' + differences.join(QLatin1String("; "));
        }
    }
    return QString();
}

QString importsSendTheirChunks(World& world)
{
    for (auto sent = world.sentByImports.cbegin(); sent != world.sentByImports.cend(); ++sent) {
        const QList<ExpectedCall> expected = world.expectedOfImports.take(sent.key());
        const auto isSame = [](const ExpectedCall& left, const ExpectedCall& right) {
            return left.agent == right.agent && left.service == right.service && left.arguments == right.arguments;
        };
        if (!std::equal(sent->begin(), sent->end(), expected.begin(), expected.end(), isSame)) {
            return QStringLiteral("%1 calls instead of %2, or other ones").arg(sent->size()).arg(expected.size());
        }
    }
    world.sentByImports.clear();
    return world.expectedOfImports.isEmpty() ? QString() : QStringLiteral("an import sent nothing");
}

// ---- properties -------------------------------------------------------------------------------------------------

QString propertiesSayThatTheyChanged(World& world)
{
    // Reading them all takes longer than everything else: now and then is enough, the watches remember.
    if (world.journal.steps() % 8 != 0) {
        return QString();
    }
    QObjectList objects { &world.module() };
    for (Recorder* recorder : world.recorders()) {
        objects.append(recorder);
    }
    for (RecorderInstance* instance : world.instances()) {
        objects.append(instance);
    }
    for (RecorderRecord* record : world.records()) {
        objects.append(record);
    }
    for (QObject* object : std::as_const(objects)) {
        PropertyWatch::watch(object);
        const QStringList silent = PropertyWatch::silentChanges(object);
        if (!silent.isEmpty()) {
            return QLatin1StringView(object->metaObject()->className()) + u' ' + silent.join(QLatin1String(", "));
        }
    }
    return QString();
}

} // namespace

const QList<Invariant> INSTANCE_INVARIANTS {
    { "an instance is on exactly while it has an agent", forEachInstance<isOnWithAnAgent> },
    { "an instance replays when its current record does", forEachInstance<replaysWithItsRecord> },
    { "a stop is a move", forEachInstance<stopsByMoving> },
    { "an instance is runnable here, or where its line can be launched", forEachInstance<isRunnableByItsLine> },
    { "the address and the mode of an instance follow from its endpoint", forEachInstance<keepsItsEndpoint> },
    { "progress is from 0 to 100", forEachInstance<showsPercents> },
    { "an instance has one file open exactly while it downloads", forEachInstance<hasAFileOpenWhileItDownloads> },
    { "the table of records has those of the list", forEachInstance<indexAgreesWithTheList> },
    { "the current record is in the list or that of the file", forEachInstance<currentRecordIsKnown>, true },
    { "the record of a file is not in the list", forEachInstance<recordOfFileIsNotListed> },
    { "no import goes on while off", forEachInstance<importsOnlyWhileOn> },
    { "everything is at rest when an instance has gone off", isAtRestWhenItWentOff, true },
    { "a record is at its start when its position is", forEachRecord<isAtItsPosition> },
    { "a record has agents and speeds, one of them chosen, only while it is loaded",
        forEachRecord<hasAgentsAndSpeedsWhenLoaded> },
    { "the agents of a record are sorted", forEachRecord<hasItsAgentsSorted> },
    { "a record sums up its check marks", forEachRecord<summarizesItsCheckMarks> },
    { "a property that changed has said so", propertiesSayThatTheyChanged, true },
    { "an instance is as it was predicted", isAsExpected, true },
    { "imports send the chunks that they read", importsSendTheirChunks, true },
};
