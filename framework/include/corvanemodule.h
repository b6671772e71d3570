// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QObject>

/// What a module plugin creates: the object behind the module's page. The host owns it and destroys it before the
/// documents and the network go away.
class CORVANE_EXPORT CorvaneModule : public QObject
{
    Q_OBJECT

public:
    explicit CorvaneModule(QObject* parent = nullptr);
    ~CorvaneModule() override;

public Q_SLOTS:
    /// The current system document is another one now, or none.
    virtual void onSystemDocumentChanged();
};
