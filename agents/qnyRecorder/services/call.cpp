// SPDX-License-Identifier: Apache-2.0
#include "call.h"

namespace recorder {

const std::vector<DeclaredService>& declaredServices()
{
    static const std::vector<DeclaredService> services = {
        { Service::Record, "record",
            { { "name", QNY_STRING_T }, { "description", QNY_STRING_T }, { "filters", QNY_STRING_T } } },
        { Service::StopRecording, "stop_recording", {} },
        { Service::PauseRecord, "pause_record", {} },
        { Service::ResumeRecord, "resume_record", {} },
        { Service::GetRecords, "get_records", { { "name_part", QNY_STRING_T } } },
        { Service::GetContext, "get_context", {} },
        { Service::GetRecordFilters, "get_record_filters", {} },
        { Service::SetRecordFilters, "set_record_filters", { { "filters", QNY_STRING_T } } },
        { Service::Load, "load",
            { { "record_uuid", QNY_STRING_T }, { "start", QNY_DOUBLE_T }, { "duration", QNY_DOUBLE_T } } },
        { Service::LoadFile, "load_file", { { "path", QNY_STRING_T } } },
        { Service::Unload, "unload", {} },
        { Service::Rename, "rename", { { "record_uuid", QNY_STRING_T }, { "name", QNY_STRING_T } } },
        { Service::Delete, "delete", { { "record_uuid", QNY_STRING_T } } },
        { Service::Play, "play", {} },
        { Service::Pause, "pause", {} },
        { Service::MoveTo, "move_to", { { "position", QNY_DOUBLE_T } } },
        { Service::FilterReplayingAgents, "filter_replaying_agents", { { "agents", QNY_STRING_T } } },
        { Service::Speed, "speed", { { "factor", QNY_DOUBLE_T } } },
        { Service::Export, "export",
            { { "record_uuid", QNY_STRING_T }, { "bucket_id", QNY_INTEGER_T }, { "cursor", QNY_STRING_T },
                { "limit", QNY_INTEGER_T }, { "is_first", QNY_BOOL_T }, { "is_last", QNY_BOOL_T } } },
        { Service::Import, "import",
            { { "name", QNY_STRING_T }, { "is_csv", QNY_BOOL_T }, { "description", QNY_STRING_T },
                { "chunk", QNY_STRING_T } } },
        { Service::Append, "append", { { "record_uuid", QNY_STRING_T }, { "chunk", QNY_STRING_T } } },
    };
    return services;
}

const DeclaredService& declaredService(Service service)
{
    // The table stands in the order of the enumeration.
    return declaredServices().at(static_cast<size_t>(service));
}

namespace {

qny_value_type_t typeOf(const Argument& argument)
{
    switch (argument.index()) {
    case 0:
        return QNY_BOOL_T;
    case 1:
        return QNY_INTEGER_T;
    case 2:
        return QNY_DOUBLE_T;
    case 3:
        return QNY_STRING_T;
    default:
        return QNY_UNKNOWN_T;
    }
}

} // namespace

QString checkArguments(const DeclaredService& declared, std::vector<Argument>& arguments)
{
    if (arguments.size() != declared.arguments.size()) {
        return QStringLiteral("%1 arguments instead of %2").arg(arguments.size()).arg(declared.arguments.size());
    }
    for (size_t i = 0; i < arguments.size(); ++i) {
        const qny_value_type_t wanted = declared.arguments[i].type;
        if (wanted == QNY_DOUBLE_T && std::holds_alternative<int32_t>(arguments[i])) {
            arguments[i] = static_cast<double>(std::get<int32_t>(arguments[i]));
        }
        if (typeOf(arguments[i]) != wanted) {
            return QStringLiteral("argument %1 (%2) is of type %3 instead of %4")
                .arg(i + 1)
                .arg(QLatin1String(declared.arguments[i].name),
                    QLatin1String(qny_value_type_text(typeOf(arguments[i]))),
                    QLatin1String(qny_value_type_text(wanted)));
        }
    }
    return {};
}

} // namespace recorder
