// SPDX-License-Identifier: Apache-2.0
#include "bareagent.h"

#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto MOST = 120s;

} // namespace

BareAgent::BareAgent()
    : _agent(qny_agent_new("Bare", nullptr))
{
    qny_agent_service_init(_agent, "receive_export", &BareAgent::onExport, this);
    qny_agent_service_init(_agent, "record_uuid", &BareAgent::onAcknowledgement, this);
    qny_agent_activate(_agent);
}

BareAgent::~BareAgent()
{
    qny_agent_destroy(_agent);
}

double BareAgent::exportFrom(const QByteArray& recorder)
{
    _recorder = recorder;
    return _run(&BareAgent::_beginExport);
}

double BareAgent::importInto(const QByteArray& recorder, const QList<QByteArray>& chunks)
{
    _recorder = recorder;
    _chunks = chunks;
    _nextChunk = 0;
    return _run(&BareAgent::_sendChunk);
}

double BareAgent::_run(void (BareAgent::*begin)())
{
    const auto started = std::chrono::steady_clock::now();
    std::unique_lock lock(_mutex);
    _isEnded = false;
    (this->*begin)();
    if (!_ended.wait_for(lock, MOST, [this] { return _isEnded; })) {
        return -1.0;
    }
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
}

void BareAgent::_end()
{
    const std::lock_guard lock(_mutex);
    _isEnded = true;
    _ended.notify_all();
}

void BareAgent::_beginExport()
{
    _askForChunk(0, "");
}

void BareAgent::_askForChunk(int32_t bucket, const char* cursor)
{
    qny_service_arg_t* list = nullptr;
    qny_service_args_add_string(&list, "aaaaaaaa-0000-4000-8000-000000000001");
    qny_service_args_add_int(&list, bucket);
    qny_service_args_add_string(&list, cursor);
    qny_service_args_add_int(&list, -1);
    qny_service_args_add_bool(&list, *cursor == '\0');
    qny_service_args_add_bool(&list, false);
    qny_agent_service_call(_agent, _recorder.constData(), "export", &list, "bare");
}

void BareAgent::_sendChunk()
{
    const bool isFirst = _nextChunk == 0;
    qny_service_arg_t* list = nullptr;
    qny_service_args_add_string(&list, isFirst ? "bare" : "bbbb");
    if (isFirst) {
        qny_service_args_add_bool(&list, true);
        qny_service_args_add_string(&list, "");
    }
    qny_service_args_add_string(&list, _chunks.at(_nextChunk++).constData());
    qny_agent_service_call(_agent, _recorder.constData(), isFirst ? "import" : "append", &list, "bare##import");
}

void BareAgent::onExport(
    const char*, const char*, const char*, qny_service_arg_t* first, size_t count, const char*, void* self)
{
    auto* const agent = static_cast<BareAgent*>(self);
    if (count == 4 && *first->next->next->c != '\0') {
        agent->_askForChunk(first->next->i, first->next->next->c);
    } else {
        agent->_end();
    }
}

void BareAgent::onAcknowledgement(
    const char*, const char*, const char*, qny_service_arg_t*, size_t, const char*, void* self)
{
    auto* const agent = static_cast<BareAgent*>(self);
    if (agent->_nextChunk < agent->_chunks.size()) {
        agent->_sendChunk();
    } else {
        agent->_end();
    }
}
