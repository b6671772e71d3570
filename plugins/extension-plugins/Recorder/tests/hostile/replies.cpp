// SPDX-License-Identifier: Apache-2.0
#include "replies.h"

#include "modulefixture.h"

#include <algorithm>

const QList<Reply>& replies()
{
    static const QList<Reply> all {
        { "context", { RECORD_A, "2026-11-21T10:00:00.000", 3.0, 1.0, 2.0, true, R"(["a","b"])", R"(["a"])", "" },
            "'context' reply: invalid number of arguments",
            { "'context' reply: first argument is not a string", "'context' reply: second argument is not a string",
                "'context' reply: third argument is not a double", "'context' reply: fourth argument is not a double",
                "'context' reply: fifth argument is not a double", "'context' reply: sixth argument is not a boolean",
                "'context' reply: seventh argument is not a string", "'context' reply: eighth argument is not a string",
                "'context' reply: nineth argument is not a string" },
            "void RecorderModule::_onContextReceived(const QString &, const QString &, const QDateTime &, double, "
            "double, double, bool, const QString &, const QString &, const QString &) Unknown recorder id",
            {} },
        { "records", { "[]" }, "'records' reply: invalid number of arguments",
            { "'records' reply: first argument is not a string" },
            "void RecorderModule::_onRecordsReceived(const QString &, const QString &) Unknown recorder id", {} },
        { "record_uuid", { RECORD_B }, "'record_uuid' reply: invalid number of arguments",
            { "'record_uuid' reply: first argument is not a string" },
            "void RecorderModule::_onRecordingIsStarted(const QString &, const QString &) unknown recorder id",
            "##record" },
        { "recording_stopped", {}, "'recording_stopped' reply: invalid number of arguments", {},
            "void RecorderModule::_onRecordingStoppedReceived(const QString &) unknown recorder id", {} },
        { "record_filters", { true, "pump/*" }, "'record_filters' reply: invalid number of arguments",
            { "'record_filters' reply: first argument is not a bool",
                "'record_filters' reply: second argument is not a string" },
            "void RecorderModule::_onRecordFiltersReceived(const QString &, bool, const QString &) Unknown recorder "
            "id",
            {} },
        { "unloaded", {}, {}, {}, {}, {} },
        { "loading", { 40.0 }, "'loading' reply: invalid number of arguments",
            { "'loading' reply: first argument is not a double" },
            "void RecorderModule::_onLoadingProgess(const QString &, double) unknown recorder id", {} },
        // Users' logs are searched for the last two texts, wrong as they are.
        { "loaded", { RECORD_A, "2026-11-21T10:00:00.000", 3.0, R"(["a","b"])" },
            "'loaded' reply: invalid number of arguments",
            { "'loaded' reply: first argument is not a string", "'loaded' reply: second argument is not a string",
                "'loaded' reply: third argument is not a string", "'context' reply: fourth argument is not a string" },
            "void RecorderModule::_onRecordLoaded(const QString &, const QString &, const QDateTime &, double, const "
            "QString &) unknown recorder id",
            {} },
        { "loading_failed", { RECORD_A, "no disk" }, "loading_failed reply: invalid number of arguments",
            { "loading_failed reply: first argument is not a string",
                "loading_failed reply: second argument is not a string" },
            "void RecorderModule::_onRecordLoadingFailed(const QString &, const QString &, const QString &) unknown "
            "recorder id",
            {} },
        { "filter_applied", {}, {}, {},
            "void RecorderModule::_onRecordFilterApplied(const QString &) unknown recorder id", {} },
        { "paused", {}, {}, {}, "void RecorderModule::_onRecordPaused(const QString &) unknown recorder id", {} },
        { "moved_to", { 2.0 }, "'moved_to' reply: invalid number of arguments",
            { "'moved_to' reply: first argument is not a double" },
            "void RecorderModule::_onRecordMovedTo(const QString &, double) unknown recorder id", {} },
        { "receive_export", { RECORD_A, 7, "next", "a;1500000;x" },
            "'receive_export' reply: invalid number of arguments",
            { "'receive_export' reply: first argument is not a string",
                "'receive_export' reply: second argument is not a integer",
                "'receive_export' reply: third argument is not a string",
                "'receive_export' reply: fourth argument is not a string" },
            "void RecorderModule::_onExportReceived(const QString &, const QString &, int, const QString &, const "
            "QString &) unknown recorder id",
            {} },
        { "replay_ended", {}, {}, {}, {}, {} },
    };
    return all;
}

const Reply& replyOf(const QString& service)
{
    const auto found = std::find_if(
        replies().cbegin(), replies().cend(), [&service](const Reply& reply) { return reply.service == service; });
    Q_ASSERT(found != replies().cend());
    return *found;
}

QList<TypedValue> valuesOfEveryType()
{
    using QuenaryDouble::RawValue;
    return {
        { "bool", true },
        { "integer", 1 },
        { "double", 1.5 },
        { "string", QStringLiteral("1") },
        { "data", QByteArray("1") },
        { "no data", QByteArray() },
        { "impulse", QVariant::fromValue(RawValue { QNY_IMPULSE_T, {} }) },
        { "no type at all", QVariant::fromValue(RawValue { QNY_UNKNOWN_T, {} }) },
    };
}

QString typeOf(const QVariant& argument)
{
    switch (argument.typeId()) {
    case QMetaType::Bool:
        return QStringLiteral("bool");
    case QMetaType::Int:
        return QStringLiteral("integer");
    case QMetaType::Double:
        return QStringLiteral("double");
    default:
        return QStringLiteral("string");
    }
}

namespace {

QVariantList with(QVariantList arguments, const QVariantList& changed, qsizetype position)
{
    for (const QVariant& value : changed) {
        arguments[position++] = value;
    }
    return arguments;
}

} // namespace

QVariantList contextOfFile(const QVariantList& changed, qsizetype position)
{
    return with({ "/r/f.csv", REPLIED_START, 3.0, 1.0, 1.0, false, R"(["a","b"])", R"(["a"])", "" }, changed, position);
}

QVariantList loadedFile(const QVariantList& changed, qsizetype position)
{
    return with({ "/r/f.csv", REPLIED_START, 3.0, R"(["a","b"])" }, changed, position);
}
