// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

/// The keys of a system document's own part, and what its readers share. Whatever else stands in an object is kept and
/// written back.
namespace DocumentKeys {

constexpr int VERSION_NUMBER = 1;

inline const QString VERSION = QStringLiteral("version");
inline const QString CLASSES = QStringLiteral("classes");
inline const QString HOSTS = QStringLiteral("hosts");
inline const QString VIEWS = QStringLiteral("views");
inline const QString CURRENT_VIEW = QStringLiteral("current_view");

inline const QString UUID = QStringLiteral("uuid");
inline const QString NAME = QStringLiteral("name");
inline const QString FAMILY = QStringLiteral("family");
inline const QString X = QStringLiteral("x");
inline const QString Y = QStringLiteral("y");
inline const QString INSTANCES = QStringLiteral("instances");
inline const QString ENCOUNTERED_AGENTS = QStringLiteral("encountered_agents");
inline const QString HOST = QStringLiteral("host");
inline const QString AGENTS = QStringLiteral("agents");
inline const QString COMMAND_LINE = QStringLiteral("command_line");
inline const QString BROUGHT_BY = QStringLiteral("brought_by");

/// Without keys that hold a zero character, at any depth: nobody means those, and QJsonObject may take "name" and the
/// same with zeros behind it for one key, so that what is written under the one is found under the other.
inline QJsonValue withoutZerosInKeys(const QJsonValue& value)
{
    if (value.isArray()) {
        QJsonArray array;
        for (const QJsonValue& each : value.toArray()) {
            array.append(withoutZerosInKeys(each));
        }
        return array;
    }
    if (!value.isObject()) {
        return value;
    }
    const QJsonObject whole = value.toObject();
    QJsonObject object;
    for (auto it = whole.begin(); it != whole.end(); ++it) {
        if (!it.key().contains(QChar(u'\0'))) {
            object.insert(it.key(), withoutZerosInKeys(it.value()));
        }
    }
    return object;
}

inline QJsonObject without(const QJsonObject& json, const QStringList& keys)
{
    QJsonObject rest = json;
    for (const QString& key : keys) {
        rest.remove(key);
    }
    return rest;
}

} // namespace DocumentKeys
