// SPDX-License-Identifier: Apache-2.0
#include "report.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <chrono>
#include <cstdio>
#include <mutex>

namespace scripted {

namespace {

void say(const QJsonObject& object)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const QByteArray line = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
    std::fflush(stdout);
}

} // namespace

void reportReady()
{
    say({ { "event", "ready" } });
}

void reportCall(const Call& call)
{
    QJsonArray arguments;
    for (const QVariant& argument : call.arguments) {
        arguments.append(argument.typeId() == QMetaType::QByteArray
                ? QJsonValue(QString::fromUtf8(argument.toByteArray()))
                : QJsonValue::fromVariant(argument));
    }
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    say({ { "event", "call" }, { "service", QString::fromUtf8(call.service) }, { "arguments", arguments },
        { "token", call.token.isNull() ? QJsonValue() : QJsonValue(QString::fromUtf8(call.token)) },
        { "at_ms", static_cast<qint64>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count()) } });
}

void reportRows(const RowDigest& rows)
{
    say({ { "event", "rows" }, { "rows", rows.rows() }, { "bytes", rows.bytes() },
        { "digest", QString::fromLatin1(rows.hex()) } });
}

void reportProblem(const QString& text)
{
    say({ { "event", "problem" }, { "text", text } });
}

} // namespace scripted
