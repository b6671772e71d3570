// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "jsondocumenterror.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QtPlugin>

/// What the host needs of a module plugin to find it and to keep its data in the system document.
class CorvaneModulePluginInterface
{
public:
    virtual ~CorvaneModulePluginInterface() = default;

    /// One of the ReservedExtensions, or any other uuid: no two plugins share one.
    virtual QString uuid() const = 0;
    /// The key of the module's block in the system document. Not a key of the document's own (see SystemDocument).
    virtual QString jsonTag() const = 0;
    /// The module's block as it is to be saved; an empty object is not written.
    virtual QJsonObject exportToJson() const = 0;
    /// Reads the module's block. Called before the document's views become current, possibly before the module exists.
    /// Appends to `errors`; 0, or -1 when the list is not empty afterwards.
    virtual int loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors) = 0;
};

#define CorvaneModulePluginInterface_iid "org.corvane.CorvaneModulePluginInterface/1.0"
Q_DECLARE_INTERFACE(CorvaneModulePluginInterface, CorvaneModulePluginInterface_iid)
