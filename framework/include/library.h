// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QList>
#include <QObject>

class SystemViewClass;

/// The classes of agents that can be placed in a view. It holds the recorder class from the start.
/// Owned by SystemDocumentHandler.
class CORVANE_EXPORT Library : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("abstractzqcustomitemlistmodel.h")
    /// Of SystemViewClass.
    Q_PROPERTY(AbstractZqCustomItemListModel* classes READ classesModel CONSTANT)

public:
    explicit Library(QObject* parent = nullptr);
    ~Library() override;

    AbstractZqCustomItemListModel* classesModel() const;
    QList<SystemViewClass*> classes() const;

    /// The class of this family, or null.
    Q_INVOKABLE SystemViewClass* getClassWithUUID(const QString& familyUuid) const;
    /// The class of this family; when there is none yet, a new one of this name.
    SystemViewClass* getOrCreateClass(const QString& familyUuid, const QString& name);

private:
    ZqCustomItemListModel<SystemViewClass>* _classes;
};
