// SPDX-License-Identifier: Apache-2.0
#include "moduleonnetwork.h"

#include <corvaneutils.h>
#include <library.h>
#include <networkconfiguration.h>
#include <reservedagentandtoolfamilies.h>
#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewclassinstance.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>

ModuleOnNetwork::ModuleOnNetwork()
{
    NetworkConfiguration* const network = NetworkConfiguration::instance();
    network->setdevice(QStringLiteral("lo"));
    network->setport(QRandomGenerator::global()->bounded(20'000, 60'000));
    SystemDocumentHandler::instance()->newDocument();
    _module = std::make_unique<RecorderModule>(QCoreApplication::applicationFilePath(), nullptr);
    if (!network->connectToNetwork()) {
        _problem = network->errorText();
    }
}

ModuleOnNetwork::~ModuleOnNetwork()
{
    _module.reset();
    _settle();
    SystemDocumentHandler::instance()->closeDocument();
    NetworkConfiguration::instance()->disconnectFromNetwork();
    _settle();
}

RecorderInstance* ModuleOnNetwork::place(const QString& name, const QString& program, const QStringList& arguments)
{
    SystemDocumentHandler* const handler = SystemDocumentHandler::instance();
    SystemView* const view = handler->currentSystemView();
    auto* const classInstance = new SystemViewClassInstance(QString(),
        handler->library()->getClassWithUUID(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID), name, QPointF(), view);
    classInstance->getOrCreateEncounteredAgentInfo(classInstance->getOrCreateEncounteredAgentsOnHostAttachedToCorvane(),
        CorvaneUtils::joinCommand(QFileInfo(program).canonicalFilePath(), arguments));
    view->addInstance(classInstance);
    AbstractZqCustomItemListModel* const recorders = _module->recorders();
    auto* const recorder = qobject_cast<Recorder*>(recorders->get(recorders->count() - 1));
    return recorder->recorderInstances().value(0);
}

// Lets queued signals and deferred deletions happen, which may post others.
void ModuleOnNetwork::_settle()
{
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}
