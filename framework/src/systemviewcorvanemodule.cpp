// SPDX-License-Identifier: Apache-2.0
#include "systemviewcorvanemodule.h"

#include "systemdocumenthandler.h"
#include "systemview.h"
#include "systemviewbaseinstance.h"

SystemViewCorvaneModule::SystemViewCorvaneModule(QObject* parent)
    : CorvaneModule(parent)
    , _currentSystemView(SystemDocumentHandler::instance()->currentSystemView())
{
    const SystemDocumentHandler* handler = SystemDocumentHandler::instance();
    connect(handler, &SystemDocumentHandler::currentSystemDocumentChanged, this,
        &SystemViewCorvaneModule::onSystemDocumentChanged);
    connect(handler, &SystemDocumentHandler::currentSystemViewChanged, this,
        &SystemViewCorvaneModule::_followCurrentSystemView);
    connect(handler, &SystemDocumentHandler::systemViewBaseInstanceRegistered, this,
        &SystemViewCorvaneModule::onSystemViewBaseInstanceRegistered);
    connect(handler, &SystemDocumentHandler::systemViewBaseInstanceUnregistered, this,
        &SystemViewCorvaneModule::onSystemViewBaseInstanceUnregistered);
}

SystemViewCorvaneModule::~SystemViewCorvaneModule() = default;

SystemView* SystemViewCorvaneModule::currentSystemView() const
{
    return _currentSystemView;
}

void SystemViewCorvaneModule::onSystemDocumentChanged()
{
    CorvaneModule::onSystemDocumentChanged();
    // The new document's view is told of by the handler, right after this. Were it taken here, whoever starts anew for
    // a document and for a view would do so twice.
    if (_currentSystemView != nullptr
        && _currentSystemView->systemDocument() != SystemDocumentHandler::instance()->currentSystemDocument()) {
        _setcurrentSystemView(nullptr);
    }
}

void SystemViewCorvaneModule::onSystemViewBaseInstanceRegistered(SystemViewBaseInstance* newInstance)
{
    Q_UNUSED(newInstance)
}

void SystemViewCorvaneModule::onSystemViewBaseInstanceUnregistered(SystemViewBaseInstance* instance)
{
    Q_UNUSED(instance)
}

void SystemViewCorvaneModule::_followCurrentSystemView()
{
    _setcurrentSystemView(SystemDocumentHandler::instance()->currentSystemView());
}

void SystemViewCorvaneModule::_setcurrentSystemView(SystemView* systemView)
{
    if (_currentSystemView != systemView) {
        _currentSystemView = systemView;
        Q_EMIT currentSystemViewChanged();
    }
}
