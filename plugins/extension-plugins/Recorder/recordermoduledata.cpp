// SPDX-License-Identifier: Apache-2.0
#include "recordermoduledata.h"

#include <QtCore/QJsonValue>
#include <QtQml/QJSEngine>

namespace {

const QString FILTERS_KEY = QStringLiteral("filters");
const QString FILE_PATH_KEY = QStringLiteral("file_path");

/// What to say of a bad block; %1 is the key at fault.
struct LoadErrors
{
    const char* emptyKey;
    const char* valueIsNoString;
    const char* fieldIsNoObject;
};

constexpr LoadErrors FILTERS_ERRORS {
    "Failed to load recorder filters. A key is empty",
    "Failed to load filters for recorder instance %1. The value is not a string",
    "Failed to load recorders filters. The value of field %1 must be an object",
};

constexpr LoadErrors FILE_PATH_ERRORS {
    "Failed to load recorder file path. A key is empty",
    "Failed to load file path for recorder instance %1. The value is not a string",
    "Failed to load recorders file path. The value of field %1 must be an object",
};

void exportTable(const QHash<QString, QString>& table, const QString& field, QJsonObject& json)
{
    QJsonObject object;
    for (auto entry = table.cbegin(); entry != table.cend(); ++entry) {
        if (!entry.key().isEmpty() && !entry.value().isEmpty()) {
            object.insert(entry.key(), entry.value());
        }
    }
    if (!object.isEmpty()) {
        json.insert(field, object);
    }
}

void loadTable(const QJsonObject& json, const QString& field, const LoadErrors& texts, QHash<QString, QString>& table,
    QList<JsonDocumentError>& errors)
{
    if (!json.contains(field)) {
        return;
    }
    const QJsonValue block = json.value(field);
    if (!block.isObject()) {
        errors.append(JsonDocumentError(QString::fromLatin1(texts.fieldIsNoObject).arg(field)));
        return;
    }
    const QJsonObject object = block.toObject();
    for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
        const QString key = member.key();
        if (key.isEmpty()) {
            errors.append(JsonDocumentError(QString::fromLatin1(texts.emptyKey)));
        } else if (member.value().isString()) {
            table.insert(key, member.value().toString());
        } else {
            errors.append(JsonDocumentError(QString::fromLatin1(texts.valueIsNoString).arg(key)));
        }
    }
}

void updateTable(QHash<QString, QString>& table, const QString& key, const QString& value)
{
    if (!value.isEmpty() || !table.remove(key)) {
        table.insert(key, value);
    }
}

} // namespace

RecorderModuleData::RecorderModuleData()
{
    QJSEngine::setObjectOwnership(this, QJSEngine::CppOwnership);
}

RecorderModuleData& RecorderModuleData::instance()
{
    static RecorderModuleData moduleData;
    return moduleData;
}

QObject* RecorderModuleData::qmlSingleton(QQmlEngine*, QJSEngine*)
{
    return &instance();
}

QJsonObject RecorderModuleData::exportToJson() const
{
    QJsonObject json;
    exportTable(_filters, FILTERS_KEY, json);
    exportTable(_filePaths, FILE_PATH_KEY, json);
    return json;
}

int RecorderModuleData::loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors)
{
    loadTable(json, FILTERS_KEY, FILTERS_ERRORS, _filters, errors);
    loadTable(json, FILE_PATH_KEY, FILE_PATH_ERRORS, _filePaths, errors);
    return errors.isEmpty() ? 0 : -1;
}

QString RecorderModuleData::getFilters(const QString& encounteredAgentInfoUuid) const
{
    return _filters.value(encounteredAgentInfoUuid);
}

QString RecorderModuleData::getFilePath(const QString& encounteredAgentInfoUuid) const
{
    return _filePaths.value(encounteredAgentInfoUuid);
}

void RecorderModuleData::updateFilters(const QString& encounteredAgentInfoUuid, const QString& filters)
{
    Q_ASSERT(!encounteredAgentInfoUuid.isEmpty());
    updateTable(_filters, encounteredAgentInfoUuid, filters);
}

void RecorderModuleData::updateFilePath(const QString& encounteredAgentInfoUuid, const QString& filePath)
{
    Q_ASSERT(!encounteredAgentInfoUuid.isEmpty());
    updateTable(_filePaths, encounteredAgentInfoUuid, filePath);
}
