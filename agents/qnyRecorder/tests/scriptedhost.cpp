// SPDX-License-Identifier: Apache-2.0
#include "scriptedhost.h"

#include <QCoreApplication>
#include <QDir>
#include <QRandomGenerator>

#include <algorithm>
#include <chrono>
#include <thread>

namespace recorder::testing {

namespace {

constexpr int END_MS = 15'000;

struct ReplyService
{
    const char* name;
    std::vector<std::pair<const char*, qny_value_type_t>> arguments;
};

const std::vector<ReplyService>& replyServices()
{
    static const std::vector<ReplyService> services = {
        { "context",
            { { "replayId", QNY_STRING_T }, { "replayStartDateTime", QNY_STRING_T }, { "replayDuration", QNY_DOUBLE_T },
                { "replayProgress", QNY_DOUBLE_T }, { "replaySpeed", QNY_DOUBLE_T }, { "replayIsRunning", QNY_BOOL_T },
                { "replayAllAgents", QNY_STRING_T }, { "replayAgentsFilter", QNY_STRING_T },
                { "recordId", QNY_STRING_T } } },
        { "records", { { "records_list", QNY_STRING_T } } },
        { "record_uuid", { { "uuid", QNY_STRING_T } } },
        { "recording_stopped", {} },
        { "record_filters", { { "loaded_from_file", QNY_BOOL_T }, { "filters", QNY_STRING_T } } },
        { "unloaded", {} },
        { "loading", { { "loading_progress", QNY_DOUBLE_T } } },
        { "loaded",
            { { "record_uuid", QNY_STRING_T }, { "start_date", QNY_STRING_T }, { "duration", QNY_DOUBLE_T },
                { "agents_list", QNY_STRING_T } } },
        { "loading_failed", { { "record_uuid", QNY_STRING_T }, { "error_reason", QNY_STRING_T } } },
        { "filter_applied", {} },
        { "paused", {} },
        { "moved_to", { { "duration", QNY_DOUBLE_T } } },
        { "receive_export",
            { { "record_uuid", QNY_STRING_T }, { "next_bucket_id", QNY_INTEGER_T }, { "next_uuid", QNY_STRING_T },
                { "content", QNY_STRING_T } } },
        { "replay_ended", {} },
    };
    return services;
}

} // namespace

int64_t monotonicNs()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

bool waitUntil(const std::function<bool()>& condition, int ms)
{
    const int64_t deadline = monotonicNs() + int64_t(ms) * 1'000'000;
    while (!condition()) {
        if (monotonicNs() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// ---- the recorder's process -------------------------------------------------------------------------------------

QString RecorderProcess::executable()
{
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath("../agents/qnyRecorder/qnyRecorder");
}

RecorderProcess::~RecorderProcess()
{
    if (isRunning()) {
        kill();
    }
}

bool RecorderProcess::start(const QStringList& options)
{
    const QByteArray name = _name.toUtf8();
    // One that was killed is missed only after a while.
    if (!waitUntil([&] { return !qny_agent_is_present(name.constData()); }, QNY_PRESENCE_BOUND_MS + 1000)) {
        return false;
    }
    _process.setProcessChannelMode(QProcess::MergedChannels);
    _process.start(executable(),
        QStringList { "--name", _name, "--device", "lo", "--port", QString::number(TestNetwork::port()) } + options);
    if (!_process.waitForStarted()) {
        return false;
    }
    waitUntil([&] { return qny_agent_is_present(name.constData()) || _process.waitForFinished(0); });
    return qny_agent_is_present(name.constData());
}

int RecorderProcess::terminate()
{
    _process.terminate();
    return waitForEnd();
}

void RecorderProcess::kill()
{
    _process.kill();
    _process.waitForFinished(END_MS);
}

int RecorderProcess::waitForEnd()
{
    if (!_process.waitForFinished(END_MS) || _process.exitStatus() != QProcess::NormalExit) {
        return -1;
    }
    return _process.exitCode();
}

QString RecorderProcess::log()
{
    _process.waitForReadyRead(1);
    _log += _process.readAll();
    return QString::fromUtf8(_log);
}

// ---- the network ------------------------------------------------------------------------------------------------

quint16 TestNetwork::port()
{
    static const auto chosen = static_cast<quint16>(QRandomGenerator::global()->bounded(20'000, 60'000));
    return chosen;
}

bool TestNetwork::join()
{
    qny_name_set("Test host");
    qny_options_t options;
    qny_options_init(&options);
    options.device = "lo";
    options.port = port();
    return qny_start(&options) == QNY_SUCCESS;
}

void TestNetwork::leave()
{
    qny_stop();
}

// ---- the host ---------------------------------------------------------------------------------------------------

ScriptedHost::ScriptedHost(qny_agent_t* agent)
    : _agent(agent)
{
    for (const ReplyService& service : replyServices()) {
        qny_agent_service_init(agent, service.name, onReply, this);
        for (const auto& [name, type] : service.arguments) {
            qny_agent_service_arg_add(agent, service.name, name, type);
        }
    }
}

ScriptedHost::~ScriptedHost()
{
    for (const ReplyService& service : replyServices()) {
        qny_agent_service_remove(_agent, service.name);
    }
    for (const auto& [agent, output] : _mappings) {
        const std::string input = agent + "#" + output;
        qny_agent_mapping_remove_with_name(_agent, input.c_str(), agent.c_str(), output.c_str());
        qny_agent_input_remove(_agent, input.c_str());
    }
}

bool ScriptedHost::call(const QString& recorder, const char* service, const std::vector<Argument>& arguments,
    std::optional<QByteArray> token)
{
    qny_service_arg_t* list = nullptr;
    for (const Argument& argument : arguments) {
        if (const auto* b = std::get_if<bool>(&argument)) {
            qny_service_args_add_bool(&list, *b);
        } else if (const auto* i = std::get_if<int32_t>(&argument)) {
            qny_service_args_add_int(&list, *i);
        } else if (const auto* d = std::get_if<double>(&argument)) {
            qny_service_args_add_double(&list, *d);
        } else if (const auto* text = std::get_if<QByteArray>(&argument)) {
            qny_service_args_add_string(&list, text->constData());
        }
    }
    return qny_agent_service_call(
               _agent, recorder.toUtf8().constData(), service, &list, token ? token->constData() : nullptr)
        == QNY_SUCCESS;
}

std::optional<Reply> ScriptedHost::reply(const char* service, const char* token, int ms)
{
    std::unique_lock lock(_mutex);
    std::optional<Reply> found;
    _changed.wait_for(lock, std::chrono::milliseconds(ms), [&] {
        for (auto one = _replies.begin(); one != _replies.end(); ++one) {
            const bool isToken = token ? one->token == QByteArray(token) : !one->token;
            if (one->service == service && isToken) {
                found = *one;
                _replies.erase(one);
                return true;
            }
        }
        return false;
    });
    return found;
}

std::vector<Reply> ScriptedHost::takeAll()
{
    const std::lock_guard lock(_mutex);
    std::vector<Reply> all(_replies.begin(), _replies.end());
    _replies.clear();
    return all;
}

bool ScriptedHost::hears(const char* service, int ms)
{
    std::unique_lock lock(_mutex);
    return _changed.wait_for(lock, std::chrono::milliseconds(ms), [&] {
        return std::any_of(_replies.begin(), _replies.end(), [&](const Reply& one) { return one.service == service; });
    });
}

void ScriptedHost::onReply(
    const char*, const char*, const char* service, qny_service_arg_t* first, size_t, const char* token, void* self)
{
    auto* host = static_cast<ScriptedHost*>(self);
    Reply reply;
    reply.service = service;
    reply.atNs = monotonicNs();
    if (token) {
        reply.token = QByteArray(token);
    }
    for (const qny_service_arg_t* argument = first; argument; argument = argument->next) {
        switch (argument->type) {
        case QNY_BOOL_T:
            reply.arguments.emplace_back(argument->b);
            break;
        case QNY_INTEGER_T:
            reply.arguments.emplace_back(argument->i);
            break;
        case QNY_DOUBLE_T:
            reply.arguments.emplace_back(argument->d);
            break;
        case QNY_STRING_T:
            reply.arguments.emplace_back(QByteArray(argument->c));
            break;
        default:
            reply.arguments.emplace_back(std::monostate());
        }
    }
    {
        const std::lock_guard lock(host->_mutex);
        host->_replies.push_back(std::move(reply));
    }
    host->_changed.notify_all();
}

QByteArray ScriptedHost::exported(const QString& recorder, const QString& recordUuid)
{
    QByteArray text;
    QByteArray cursor;
    int32_t bucket = 0;
    bool isFirst = true;
    do {
        call(recorder, "export", { recordUuid.toUtf8(), bucket, cursor, -1, isFirst, false });
        const auto chunk = reply("receive_export");
        if (!chunk || chunk->text(0) != recordUuid) {
            return "failed";
        }
        text += chunk->text(3).toUtf8() + '\n';
        bucket = chunk->integer(1);
        cursor = chunk->text(2).toUtf8();
        isFirst = false;
    } while (!cursor.isEmpty());
    return text;
}

void ScriptedHost::listen(const std::string& agent, const std::string& output)
{
    if (std::find(_mappings.begin(), _mappings.end(), std::pair(agent, output)) != _mappings.end()) {
        return;
    }
    const std::string input = agent + "#" + output;
    qny_agent_input_create(_agent, input.c_str(), QNY_IMPULSE_T, nullptr, 0);
    qny_agent_observe_input_publications(_agent, input.c_str(), onPublication, this);
    qny_agent_mapping_add(_agent, input.c_str(), agent.c_str(), output.c_str());
    _mappings.emplace_back(agent, output);
}

void ScriptedHost::onPublication(const qny_publication_t* publication, void* self)
{
    auto* host = static_cast<ScriptedHost*>(self);
    Arrival arrival;
    arrival.atNs = monotonicNs();
    arrival.output = std::string(publication->agent_name) + "/" + publication->output;
    arrival.type = publication->type;
    arrival.timeUs = publication->time_us;
    arrival.isLastValue = publication->last_value;
    arrival.isStandIn = publication->stand_in;
    switch (publication->type) {
    case QNY_BOOL_T:
        arrival.number = *static_cast<const bool*>(publication->value) ? 1.0 : 0.0;
        break;
    case QNY_INTEGER_T:
        arrival.number = *static_cast<const int32_t*>(publication->value);
        break;
    case QNY_DOUBLE_T:
        arrival.number = *static_cast<const double*>(publication->value);
        break;
    case QNY_STRING_T:
        arrival.bytes = static_cast<const char*>(publication->value);
        break;
    case QNY_DATA_T:
        arrival.bytes.assign(static_cast<const char*>(publication->value), publication->size);
        break;
    default:
        break;
    }
    const std::lock_guard lock(host->_mutex);
    host->_arrivals.push_back(std::move(arrival));
}

std::vector<Arrival> ScriptedHost::arrivals(const std::string& output) const
{
    const std::lock_guard lock(_mutex);
    std::vector<Arrival> result;
    for (const Arrival& arrival : _arrivals) {
        if (output.empty() || arrival.output == output) {
            result.push_back(arrival);
        }
    }
    return result;
}

void ScriptedHost::clearArrivals()
{
    const std::lock_guard lock(_mutex);
    _arrivals.clear();
}

// ---- the plant --------------------------------------------------------------------------------------------------

PlantAgent::PlantAgent(const char* name)
    : _agent(qny_agent_new(name, nullptr))
{
    const double zero = 0.0;
    qny_agent_output_create(_agent, "level", QNY_DOUBLE_T, &zero, sizeof zero);
    qny_agent_output_create(_agent, "count", QNY_INTEGER_T, nullptr, 0);
    qny_agent_output_create(_agent, "open", QNY_BOOL_T, nullptr, 0);
    qny_agent_output_create(_agent, "text", QNY_STRING_T, nullptr, 0);
    qny_agent_output_create(_agent, "image", QNY_DATA_T, nullptr, 0);
    qny_agent_output_create(_agent, "kick", QNY_IMPULSE_T, nullptr, 0);
    qny_agent_activate(_agent);
}

PlantAgent::~PlantAgent()
{
    qny_agent_destroy(_agent);
}

void PlantAgent::publish(const char* output, double value)
{
    qny_agent_output_publish(_agent, output, QNY_DOUBLE_T, &value, sizeof value, 0, nullptr);
}

void PlantAgent::publish(const char* output, int32_t value)
{
    qny_agent_output_publish(_agent, output, QNY_INTEGER_T, &value, sizeof value, 0, nullptr);
}

void PlantAgent::publish(const char* output, bool value)
{
    qny_agent_output_publish(_agent, output, QNY_BOOL_T, &value, sizeof value, 0, nullptr);
}

void PlantAgent::publish(const char* output, const std::string& text)
{
    qny_agent_output_publish(_agent, output, QNY_STRING_T, text.c_str(), text.size() + 1, 0, nullptr);
}

void PlantAgent::publishData(const char* output, const std::string& bytes)
{
    qny_agent_output_publish(_agent, output, QNY_DATA_T, bytes.data(), bytes.size(), 0, nullptr);
}

void PlantAgent::publishImpulse(const char* output)
{
    qny_agent_output_publish(_agent, output, QNY_IMPULSE_T, nullptr, 0, 0, nullptr);
}

} // namespace recorder::testing
