// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <jsondocumenterror.h>

#include <QtCore/QHash>
#include <QtCore/QJsonObject>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>

class QJSEngine;
class QQmlEngine;

/// What the module keeps in the host's document for each recorder launch line: its record filters and its record file.
///
/// The key is always EncounteredAgentInfo::uuid(), which the host keeps from one run to the next. The plugin reads and
/// writes the document's block, recorder instances their own entries. Main thread only.
class RecorderModuleData : public QObject
{
    Q_OBJECT

public:
    /// The process-wide object, created on first use (a document may be loaded before the module exists), destroyed
    /// when the library is unloaded and never owned by a QML engine.
    static RecorderModuleData& instance();

    /// Factory for qmlRegisterSingletonType: gives every engine the same object.
    static QObject* qmlSingleton(QQmlEngine* engine, QJSEngine* scriptEngine);

    /// The block for the document: the objects "filters" and "file_path", each left out when it would be empty.
    QJsonObject exportToJson() const;

    /// Adds the entries of a block to those there are. A bad entry adds one error and the rest is still read. Returns
    /// -1 when the list of errors, with what the caller had put into it, is not empty afterwards, else 0.
    int loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors);

    /// The entry, or a null text when there is none.
    QString getFilters(const QString& encounteredAgentInfoUuid) const;
    QString getFilePath(const QString& encounteredAgentInfoUuid) const;

    /// Stores an entry; an empty value removes the one there is. The uuid must not be empty.
    void updateFilters(const QString& encounteredAgentInfoUuid, const QString& filters);
    void updateFilePath(const QString& encounteredAgentInfoUuid, const QString& filePath);

private:
    RecorderModuleData();

    QHash<QString, QString> _filters;
    QHash<QString, QString> _filePaths;
};
