// SPDX-License-Identifier: Apache-2.0
// Downloads, imports, and the dialogs in which files are chosen.
#include "actions.h"

#include "dialoganswer.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QPointer>

namespace {

constexpr int MOST_STEPS_IN_DIALOG = 6;

// The user answers with a path (null: cancels) while other things happen behind the dialog.
class Dialog
{
public:
    explicit Dialog(World& world, const QString& path, const std::function<void()>& lastly = {})
        : _world(world)
        , _answer(path, [this, lastly] {
            const int steps = _world.random.below(MOST_STEPS_IN_DIALOG);
            for (int i = 0; i < steps; ++i) {
                doSomething(_world);
            }
            _world.settle();
            if (lastly) {
                lastly();
            }
        })
    {
        world.isInDialog = true;
        world.journal.note(QStringLiteral("dialog answered with '%1'").arg(path));
    }
    ~Dialog()
    {
        _world.isInDialog = false;
        _world.journal.begin(QStringLiteral("dialog closed"));
    }
    Q_DISABLE_COPY_MOVE(Dialog)

private:
    World& _world;
    const DialogAnswer _answer;
};

// ---- download ---------------------------------------------------------------------------------------------------

bool downloadRecord(World& world)
{
    const QPointer<RecorderInstance> instance = world.isInDialog ? nullptr : anyTarget(world);
    const QPointer<RecorderRecord> record = instance ? world.anyRecord(*instance) : nullptr;
    if (!record) {
        return false;
    }
    // A tenth of the users cancels, and of some the folder goes while they choose.
    const bool folderGoes = world.random.chance(10);
    const QString lostFolder = world.folder().filePath(QStringLiteral("lost"));
    QString path = world.newDownloadFile();
    if (folderGoes) {
        QDir().mkpath(lostFolder);
        path = lostFolder + QStringLiteral("/download.csv");
    } else if (world.random.chance(10)) {
        path = QString();
    }
    const auto loseFolder = [&] { QDir(lostFolder).removeRecursively(); };
    world.messages.allow(QStringLiteral("the record was removed while a file was chosen for it"));
    world.messages.allow(QStringLiteral("Instance is off. Can not call service 'export'"));
    if (folderGoes) {
        world.messages.allow(QStringLiteral("failed to open file"));
    }
    {
        const Dialog dialog(world, path, loseFolder);
        instance->downloadRecord(record);
    }
    world.lookAround();
    if (!instance || !record || path.isNull()) {
        return true;
    }
    if (folderGoes) {
        world.expected(*instance).downloadFailed();
    } else {
        world.expected(*instance).downloadStarted(path, record);
    }
    return true;
}

bool stopExport(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    instance->stopExport();
    world.expected(*instance).stopExport();
    return true;
}

// ---- import -----------------------------------------------------------------------------------------------------

bool importRecord(World& world)
{
    RecorderInstance* const instance = world.anyInstanceThatIsOn();
    if (!instance) {
        return false;
    }
    const QString path = world.importFile(world.random.below(5));
    world.journal.note(world.label(instance) + u' ' + path);
    instance->importRecord(QUrl::fromLocalFile(path));
    world.expected(*instance).importStarted(instance->agentInstanceUuid(), path);
    return true;
}

bool chooseFileToImport(World& world)
{
    const QPointer<RecorderInstance> instance = world.isInDialog ? nullptr : world.anyInstanceThatIsOn();
    if (!instance) {
        return false;
    }
    const QString path = world.random.chance(30) ? QString() : world.importFile(world.random.below(3));
    world.messages.allow(QStringLiteral("Path is empty"));
    world.messages.allow(QStringLiteral("Instance is off. Can not call service 'import'"));
    {
        const Dialog dialog(world, path);
        instance->importRecord();
    }
    world.lookAround();
    if (instance && instance->isOn() && !path.isNull()) {
        world.expected(*instance).importStarted(instance->agentInstanceUuid(), path);
    }
    return true;
}

bool continueImport(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    const QString recordUuid = world.random.pick({ "", "aaaaaaaa-0000-4000-8000-000000000001" });
    world.allowAcknowledgement();
    world.acknowledgeImport(*instance, recordUuid);
    return true;
}

bool stopImport(World& world)
{
    RecorderInstance* const instance = anyTarget(world);
    if (!instance) {
        return false;
    }
    instance->stopImport();
    world.expected(*instance).stopImport();
    return true;
}

bool runWorker(World& world)
{
    world.letWorkerRun();
    return true;
}

bool moveFile(World& world)
{
    const QString here = world.folder().filePath(QStringLiteral("coming and going.csv"));
    const QString away = world.folder().filePath(QStringLiteral("gone.csv"));
    return QFile::rename(here, away) || QFile::rename(away, here);
}

// ---- replay of a file -------------------------------------------------------------------------------------------

bool browseFile(World& world)
{
    const QPointer<RecorderInstance> instance = world.isInDialog ? nullptr : anyTarget(world);
    if (!instance) {
        return false;
    }
    const QString path = world.random.chance(30) ? QString() : world.importFile(0);
    const Dialog dialog(world, path);
    instance->browseFileToLoad(
        world.random.pick({ QString(), path, world.folder().path(), QStringLiteral("/nowhere/a.csv") }));
    return true;
}

} // namespace

const QList<Action> FILE_ACTIONS {
    { "downloadRecord", 4, downloadRecord, true },
    { "stopExport", 15, stopExport },
    { "importRecord", 30, importRecord },
    { "importRecord, file chosen", 1, chooseFileToImport, true },
    { "continueImport", 15, continueImport },
    { "stopImport", 10, stopImport },
    { "the worker thread runs", 60, runWorker },
    { "a file comes or goes", 15, moveFile, true },
    { "browseFileToLoad", 1, browseFile, true },
};
