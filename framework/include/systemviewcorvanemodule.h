// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvanemodule.h"

#include <QPointer>

class SystemView;
class SystemViewBaseInstance;

/// A module that works on the current system view of the current document.
///
/// The constructor connects the public slots to SystemDocumentHandler: nobody else has to call them. They run on the
/// main thread. Only instances of the current system view are announced.
class CORVANE_EXPORT SystemViewCorvaneModule : public CorvaneModule
{
    Q_OBJECT
    Q_MOC_INCLUDE("systemview.h")
    /// The current view of the current document, or null; also null for the moment in which one document gives way to
    /// another. Already set when a derived constructor runs.
    Q_PROPERTY(SystemView* currentSystemView READ currentSystemView NOTIFY currentSystemViewChanged)

public:
    explicit SystemViewCorvaneModule(QObject* parent = nullptr);
    ~SystemViewCorvaneModule() override;

    SystemView* currentSystemView() const;

public Q_SLOTS:
    /// Leaves the view of the former document; overriders call this first. The view of the new one is not there yet: it
    /// comes right after, with currentSystemViewChanged().
    void onSystemDocumentChanged() override;
    /// An instance was added to the current view. It is complete: its name, class and launch lines are there.
    virtual void onSystemViewBaseInstanceRegistered(SystemViewBaseInstance* newInstance);
    /// An instance was taken out of the current view. It still lives during the call, and is deleted later.
    virtual void onSystemViewBaseInstanceUnregistered(SystemViewBaseInstance* instance);

Q_SIGNALS:
    void currentSystemViewChanged();

private:
    void _followCurrentSystemView();
    void _setcurrentSystemView(SystemView* systemView);

    QPointer<SystemView> _currentSystemView;
};
