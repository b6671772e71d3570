// SPDX-License-Identifier: Apache-2.0
#include "world.h"

#include "modulefixture.h"
#include "privatemember.h"

#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QTimer>
#include <QtCore/QTimerEvent>

#include <algorithm>

static QTimer RecorderInstance::*recordingTimerOf = nullptr;
template struct OpenMember<recordingTimerOf, &RecorderInstance::_recordingTimer>;

namespace {

constexpr qsizetype DEAD_UUIDS_KEPT = 12;
// Set while a test expires a timer, which no real time does.
bool isExpiring = false;

} // namespace

World::World(quint64 seed)
    : random(seed)
    , journal(seed)
{
    QuenaryDouble::reset();
    ModuleFixture::settle();
    QCoreApplication::instance()->installEventFilter(this);
    _writeFiles();
    SystemDocumentHandler::instance()->newDocument();
    _module = std::make_unique<RecorderModule>(ModuleFixture::executablePath(), nullptr);
    settle();
}

World::~World()
{
    messages.allow(QStringLiteral("doesn't exists or cannot be opened"));
    _module.reset();
    settle();
    QuenaryDouble::reset();
    SystemDocumentHandler::instance()->closeDocument();
    ModuleFixture::settle();
    QCoreApplication::instance()->removeEventFilter(this);
}

void World::_writeFiles() const
{
    const auto write = [this](const QString& name, int rows) {
        QFile file(_folder.filePath(name));
        if (file.open(QIODevice::WriteOnly)) {
            for (int row = 0; row < rows; ++row) {
                file.write(QByteArray::number(row % 10) + "\n");
            }
        }
    };
    write(QStringLiteral("small.csv"), 3);
    write(QStringLiteral("full chunk.csv"), 10000);
    write(QStringLiteral("three chunks.csv"), 20001);
    write(QStringLiteral("coming and going.csv"), 10001);
}

QString World::importFile(int which) const
{
    static const QStringList names { QStringLiteral("small.csv"), QStringLiteral("full chunk.csv"),
        QStringLiteral("three chunks.csv"), QStringLiteral("coming and going.csv"), QStringLiteral("missing.csv") };
    return _folder.filePath(names.at(which % names.size()));
}

QString World::newDownloadFile()
{
    return _folder.filePath(QStringLiteral("download %1.csv").arg(++_downloads));
}

// ---- what there is ----------------------------------------------------------------------------------------------

void World::renewModule()
{
    _module.reset();
    lookAround();
    settle();
    _module = std::make_unique<RecorderModule>(ModuleFixture::executablePath(), nullptr);
    settle();
}

SystemDocument* World::document()
{
    return SystemDocumentHandler::instance()->currentSystemDocument();
}

SystemView* World::view()
{
    return SystemDocumentHandler::instance()->currentSystemView();
}

QList<SystemViewClassInstance*> World::recorderClassInstances()
{
    QList<SystemViewClassInstance*> found = view() ? view()->getAllClassInstances() : QList<SystemViewClassInstance*>();
    found.removeIf([](const SystemViewClassInstance* instance) {
        return instance->familyUuid() != ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID;
    });
    return found;
}

RecorderInstance* World::instanceWithUuid(const QString& uuid) const
{
    for (RecorderInstance* instance : instances()) {
        if (instance->uuid() == uuid) {
            return instance;
        }
    }
    return nullptr;
}

RecorderInstance* World::anyInstance()
{
    return instances().isEmpty() ? nullptr : random.pick(instances());
}

RecorderInstance* World::anyInstanceThatIsOn()
{
    QList<RecorderInstance*> all = instances();
    all.removeIf([](const RecorderInstance* instance) { return !instance->isOn(); });
    return all.isEmpty() ? nullptr : random.pick(all);
}

RecorderRecord* World::anyRecord(const RecorderInstance& instance)
{
    QList<RecorderRecord*> records;
    auto* const list = const_cast<RecorderInstance&>(instance).records();
    for (int row = 0; row < list->count(); ++row) {
        records.append(static_cast<RecorderRecord*>(list->itemAt(row)));
    }
    // The one that is replayed is used most.
    for (RecorderRecord* record : { instance.currentRecord(), instance.currentRecord(), instance.recordFromFile() }) {
        if (record) {
            records.append(record);
        }
    }
    return records.isEmpty() ? nullptr : random.pick(records);
}

QString World::label(const RecorderInstance* instance)
{
    if (!instance) {
        return QStringLiteral("no instance");
    }
    int& number = _numbers[instance->uuid()];
    if (number == 0) {
        number = static_cast<int>(_numbers.size());
    }
    return QStringLiteral("instance %1 (%2)").arg(number).arg(
        instance->isOn() ? QStringLiteral("on") : QStringLiteral("off"));
}

// ---- what is expected -------------------------------------------------------------------------------------------

void World::expectLater(const QString& uuid, const std::function<void(ExpectedInstance&)>& change)
{
    _later.append({ uuid, change });
}

void World::allowOff(const RecorderInstance& instance, const char* service)
{
    if (!instance.isOn()) {
        messages.allow(QStringLiteral("Instance is off. Can not call service '%1'").arg(QLatin1StringView(service)));
    }
}

void World::_collectCalls(ExpectedInstance& instance, const QString& uuid)
{
    const QList<ExpectedCall> calls = instance.takeCalls();
    if (!calls.isEmpty()) {
        expectedOfImports[uuid].append(calls);
    }
}

void World::_follow(const RecorderInstance& instance)
{
    _expected[instance.uuid()].isOn = instance.isOn();
    connect(&instance, &RecorderInstance::isOnChanged, this, [this, &instance] {
        const auto known = _expected.find(instance.uuid());
        if (known == _expected.end()) {
            return;
        }
        known->isOn = instance.isOn();
        if (!instance.isOn()) {
            known->disconnected();
            if (_isSettled) {
                _wentOff.append(instance.uuid());
            }
        }
    });
}

void World::lookAround()
{
    _recorders.clear();
    _instances.clear();
    for (int row = 0; _module && row < _module->recorders()->count(); ++row) {
        _recorders.append(static_cast<Recorder*>(_module->recorders()->itemAt(row)));
        _instances.append(_recorders.last()->recorderInstances());
    }
    _records.clear();
    for (RecorderInstance* instance : std::as_const(_instances)) {
        _records.append(static_cast<ZqCustomItemListModel<RecorderRecord>*>(instance->records())->toList());
        if (instance->recordFromFile()) {
            _records.append(instance->recordFromFile());
        }
    }
    QSet<QString> present;
    for (const RecorderInstance* instance : instances()) {
        present.insert(instance->uuid());
        if (!_expected.contains(instance->uuid())) {
            _follow(*instance);
        }
    }
    for (auto known = _expected.begin(); known != _expected.end();) {
        if (present.contains(known.key())) {
            _collectCalls(known.value(), known.key());
            ++known;
            continue;
        }
        // Its destructor waits for its tasks.
        while (known.value().hasImportTask()) {
            if (!known.value().runImportTask().isSent) {
                messages.allow(QStringLiteral("doesn't exists or cannot be opened"));
            }
        }
        _collectCalls(known.value(), known.key());
        deadUuids.append(known.key());
        if (deadUuids.size() > DEAD_UUIDS_KEPT) {
            deadUuids.removeFirst();
        }
        if (!_isSettled) { // an answer may be on its way
            messages.allow(QStringLiteral("nknown recorder"));
        }
        known = _expected.erase(known);
    }
}

// ---- what went wrong --------------------------------------------------------------------------------------

// A call goes to the agent that is linked with the instance that its token names.
void World::lookAtCalls()
{
    const QList<QuenaryDouble::ServiceCall> calls = QuenaryDouble::serviceCalls();
    for (const QuenaryDouble::ServiceCall& call : calls) {
        const QStringList token = call.token.split(RecorderInstance::TOKEN_SEPARATOR);
        if (token.value(1) == QLatin1StringView("import")) {
            sentByImports[token.first()].append({ call.agent, call.service, call.arguments });
            continue;
        }
        const bool isRight = std::any_of(instances().begin(), instances().end(), [&](const RecorderInstance* instance) {
            const bool isNamed = call.token.isNull()
                ? call.service == QLatin1StringView("pause_record") || call.service == QLatin1StringView("resume_record")
                : token == (call.service == QLatin1StringView("record") ? QStringList { instance->uuid(), call.service }
                                                                        : QStringList { instance->uuid() });
            return isNamed && instance->isOn() && instance->agentInstanceUuid() == call.agent;
        });
        const bool isOfFirstTime = isOpeningDocument && !_expected.contains(token.first());
        // It was taken out of its list and is deleted now, and in between the end of an import was told to it.
        const bool isOfLastMoment
            = deadUuids.contains(token.first()) && call.service == QLatin1StringView("get_records");
        if (!isRight && !isOfFirstTime && !isOfLastMoment && call.service != QLatin1StringView("start_agent")) {
            _wrongCalls.append(QStringLiteral("'%1' of %2 with token %3").arg(call.service, call.agent, call.token));
        }
    }
    isOpeningDocument = false;
    QuenaryDouble::clearCalls();
}

QString World::problem()
{
    QString text;
    const QStringList unexpected = messages.takeUnexpected();
    if (!unexpected.isEmpty()) {
        text += QStringLiteral("unexpected: %1 ").arg(unexpected.join(QLatin1String(" | ")));
    }
    if (!_wrongCalls.isEmpty()) {
        text += QStringLiteral("wrong calls: %1 ").arg(_wrongCalls.join(QLatin1String(" | ")));
    }
    if (_isSettled) {
        messages.forgetAllowed();
    }
    return text;
}

// ---- what happens ------------------------------------------------------------------------------------------------

void World::settle()
{
    lookAround();
    while (!_later.isEmpty()) {
        const Later later = _later.takeFirst();
        const auto found = _expected.find(later.uuid);
        if (found == _expected.end()) {
            continue;
        }
        later.change(*found);
    }
    // Not the event loop: timers would expire as time goes by, and no failure could be played again.
    for (int i = 0; i < 2; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    lookAround();
    _isSettled = true;
}

void World::letWorkerRun()
{
    for (auto known = _expected.begin(); known != _expected.end(); ++known) {
        const QString uuid = known.key();
        while (known.value().hasImportTask()) {
            _expectEnd(uuid, known.value().runImportTask());
        }
    }
    _gate.letPass();
}

void World::acknowledgeImport(RecorderInstance& instance, const QString& recordUuid)
{
    instance.continueImport(recordUuid);
    expected(instance).importAcknowledged(instance.agentInstanceUuid(), recordUuid);
}

// What a task came to is told to the main thread behind everything that was posted before.
void World::_expectEnd(const QString& uuid, const ExpectedInstance::ImportResult& result)
{
    if (!result.isSent) {
        messages.allow(QStringLiteral("doesn't exists or cannot be opened"));
    }
    allowAcknowledgement();
    expectLater(uuid, [this, uuid, result](ExpectedInstance& instance) {
        instance.importTaskEnded(result, instanceWithUuid(uuid)->agentInstanceUuid());
    });
}

void World::allowAcknowledgement()
{
    for (const char* message : { "Something went wrong in the recorder when importing",
             "Instance is off. Can not call service 'get_records'", "Instance is off. Can not call service 'append'" }) {
        messages.allow(QLatin1StringView(message));
    }
}

void World::allowRenaming()
{
    messages.allow(QStringLiteral("keeps its name"));
    messages.allow(QStringLiteral("isn't linked to any RecorderInstance"));
    messages.allow(QStringLiteral("Multiple recorder instance detected with same command line."));
}

bool World::isRecordingTimerActive(const RecorderInstance& instance)
{
    return (instance.*recordingTimerOf).isActive();
}

void World::expireRecordingTimer(RecorderInstance& instance)
{
    QTimer& timer = instance.*recordingTimerOf;
    QTimerEvent event(timer.timerId());
    isExpiring = true;
    QCoreApplication::sendEvent(&timer, &event);
    isExpiring = false;
}

bool World::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::Timer || isExpiring) {
        return false;
    }
    return std::any_of(instances().begin(), instances().end(),
        [watched](RecorderInstance* instance) { return &(instance->*recordingTimerOf) == watched; });
}
