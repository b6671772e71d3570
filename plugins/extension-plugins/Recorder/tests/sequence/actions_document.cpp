// SPDX-License-Identifier: Apache-2.0
// What the user does with documents, views and class instances, and with the recorders of the module.
#include "actions.h"

#include "modulefixture.h"

#include <host.h>
#include <library.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewmanager.h>

#include <QtCore/QFile>

namespace {

constexpr qsizetype MOST_CLASS_INSTANCES = 3;
constexpr qsizetype MOST_LINES = 4;
const QString PUMP_FAMILY = QStringLiteral("11111111-2222-4333-8444-555555555555");

SystemDocumentHandler& documents()
{
    return *SystemDocumentHandler::instance();
}

SystemViewClassInstance* anyClassInstance(World& world)
{
    const QList<SystemViewClassInstance*> all = World::recorderClassInstances();
    return all.isEmpty() ? nullptr : world.random.pick(all);
}

QString anyLine(World& world)
{
    return ModuleFixture::commandLine({ QStringLiteral("--name"), QStringLiteral("Recorder"),
        QStringLiteral("--cassandra"), world.random.pick({ "db:9042", "other:9042", "embedded:9042", "third:7000" }) });
}

EncounteredAgentsOnHost* anyGroup(World& world, SystemViewClassInstance* classInstance)
{
    return world.random.chance(70)
        ? classInstance->getOrCreateEncounteredAgentsOnHostAttachedToCorvane()
        : classInstance->getOrCreateEncounteredAgentsOnHost(
              World::document()->getOrCreateHost(QStringLiteral("elsewhere")));
}

// ---- documents and views ----------------------------------------------------------------------------------------

bool newDocument(World&)
{
    documents().newDocument();
    return true;
}

bool closeDocument(World&)
{
    documents().closeDocument();
    return true;
}

bool saveDocument(World& world)
{
    return World::document()
        && documents().saveDocumentAs(world.folder().filePath(QStringLiteral("document.json")));
}

bool openDocument(World& world)
{
    const QString path = world.folder().filePath(QStringLiteral("document.json"));
    if (!QFile::exists(path)) {
        return false;
    }
    world.isOpeningDocument = true;
    return documents().openDocument(path);
}

bool addView(World&)
{
    if (!World::document() || World::document()->systemViews().size() > 2) {
        return false;
    }
    World::document()->createSystemView(QStringLiteral("View"));
    return true;
}

bool changeView(World& world)
{
    if (!World::document()) {
        return false;
    }
    QList<SystemView*> views = World::document()->systemViews();
    views.append(nullptr);
    World::document()->setcurrentSystemView(world.random.pick(views));
    return true;
}

// ---- class instances --------------------------------------------------------------------------------------------

bool addClassInstance(World& world)
{
    if (!World::view() || World::recorderClassInstances().size() >= MOST_CLASS_INSTANCES) {
        return false;
    }
    SystemViewClass* const recorderClass
        = documents().library()->getClassWithUUID(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID);
    auto* const classInstance = new SystemViewClassInstance(QString(), recorderClass,
        World::view()->uniqueInstanceName(world.random.pick({ "Recorder", "Rec" })), QPointF(), World::view());
    const int lines = world.random.below(3);
    for (int i = 0; i < lines; ++i) {
        classInstance->getOrCreateEncounteredAgentInfo(anyGroup(world, classInstance), anyLine(world));
    }
    world.journal.note(classInstance->name());
    return World::view()->addInstance(classInstance);
}

bool addOtherClassInstance(World& world)
{
    if (!World::view() || World::view()->getAllClassInstances().size() > MOST_CLASS_INSTANCES) {
        return false;
    }
    auto* const pump = new SystemViewClassInstance(QString(),
        documents().library()->getOrCreateClass(PUMP_FAMILY, QStringLiteral("Pump")),
        World::view()->uniqueInstanceName(QStringLiteral("Pump")), QPointF(), World::view());
    World::view()->addInstance(pump);
    // Nothing that the module cares for, however often it is told.
    world.module().onSystemViewBaseInstanceRegistered(pump);
    world.module().onSystemViewBaseInstanceUnregistered(pump);
    return true;
}

bool deleteClassInstance(World& world)
{
    if (!World::view() || World::view()->getAllInstances().isEmpty()) {
        return false;
    }
    documents().deleteInstance(world.random.pick(World::view()->getAllInstances()));
    return true;
}

bool registerTwice(World& world)
{
    SystemViewClassInstance* const classInstance = anyClassInstance(world);
    world.messages.allow(QStringLiteral("is already linked to a Recorder."));
    world.module().onSystemViewBaseInstanceRegistered(classInstance);
    return classInstance;
}

bool unregisterOfOtherView(World& world)
{
    if (!World::document()) {
        return false;
    }
    for (const SystemView* other : World::document()->systemViews()) {
        if (other == World::view()) {
            continue;
        }
        for (SystemViewClassInstance* classInstance : other->getAllClassInstances()) {
            world.messages.allow(QStringLiteral("Recorder object not found."));
            world.module().onSystemViewBaseInstanceUnregistered(classInstance);
            return true;
        }
    }
    return false;
}

bool renameClassInstance(World& world)
{
    SystemViewClassInstance* const classInstance = anyClassInstance(world);
    if (!classInstance) {
        return false;
    }
    world.allowRenaming();
    SystemViewManager::instance()->updateInstanceName(
        classInstance, world.random.pick({ "Recorder", "Recorder 2", "Rec", "Stranger", "  Night / shift " }));
    return true;
}

bool addLine(World& world)
{
    SystemViewClassInstance* const classInstance = anyClassInstance(world);
    if (!classInstance) {
        return false;
    }
    EncounteredAgentsOnHost* const group = anyGroup(world, classInstance);
    return group->encounteredAgentInfos().size() < MOST_LINES
        && classInstance->getOrCreateEncounteredAgentInfo(group, anyLine(world));
}

// ---- the module -------------------------------------------------------------------------------------------------

bool createRecorder(World& world)
{
    if (World::recorderClassInstances().size() >= MOST_CLASS_INSTANCES) {
        return false;
    }
    world.module().createRecorder();
    return true;
}

bool deleteRecorder(World& world)
{
    RecorderInstance* const instance = world.random.chance(5) ? nullptr : world.anyInstance();
    world.journal.note(world.label(instance));
    world.module().deleteRecorder(instance);
    return true;
}

// Not by way of the module: this deletes a recorder that runs, too.
bool deleteRecorderInstance(World& world)
{
    RecorderInstance* const instance = world.anyInstance();
    if (!instance) {
        return false;
    }
    world.journal.note(world.label(instance));
    Recorder* const recorder = world.random.pick(world.recorders());
    if (!recorder->recorderInstances().contains(instance)) {
        world.messages.allow(QStringLiteral("is not registered"));
    }
    recorder->deleteRecorderInstance(instance);
    return true;
}

bool chooseRecorder(World& world)
{
    world.module().setcurrentRecorder(world.random.chance(20) ? nullptr : world.anyInstance());
    return true;
}

bool renewModule(World& world)
{
    world.renewModule();
    return true;
}

} // namespace

const QList<Action> DOCUMENT_ACTIONS {
    { "newDocument", 4, newDocument, true },
    { "closeDocument", 2, closeDocument, true },
    { "saveDocument", 4, saveDocument },
    { "openDocument", 6, openDocument, true },
    { "addView", 4, addView },
    { "changeView", 10, changeView, true },
    { "addClassInstance", 40, addClassInstance },
    { "addOtherClassInstance", 5, addOtherClassInstance },
    { "deleteClassInstance", 15, deleteClassInstance },
    { "registerTwice", 5, registerTwice },
    { "unregisterOfOtherView", 5, unregisterOfOtherView },
    { "renameClassInstance", 20, renameClassInstance },
    { "addLine", 40, addLine },
    { "createRecorder", 30, createRecorder },
    { "deleteRecorder", 30, deleteRecorder },
    { "deleteRecorderInstance", 8, deleteRecorderInstance },
    { "chooseRecorder", 40, chooseRecorder },
    { "renewModule", 3, renewModule, true },
};
