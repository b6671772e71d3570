// SPDX-License-Identifier: Apache-2.0
#include "state.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <cstdlib>
#include <cstring>
#include <new>

using namespace QuenaryDouble;

// ---- results, log -----------------------------------------------------------------------------------------------

const char* qny_result_text(qny_result_t result)
{
    return result == QNY_SUCCESS ? "success" : "failure";
}

const char* qny_last_error(void)
{
    return "the double was told to fail, or was asked for something impossible";
}

void qny_free(void* memory)
{
    std::free(memory);
}

const char* qny_version(void)
{
    return "1.0.0";
}

void qny_log_set_handler(qny_log_fn, void*) { }

// ---- the network ------------------------------------------------------------------------------------------------

void qny_options_init(qny_options_t* options)
{
    *options = qny_options_t {};
    options->multicast = true;
}

qny_result_t qny_start(const qny_options_t* options)
{
    const auto locker = lock();
    const QString device = QString::fromUtf8(options ? options->device : nullptr);
    const qny_result_t result = record("qny_start", { device });
    if (result == QNY_SUCCESS) {
        state().isStarted = true;
    }
    return result;
}

void qny_stop(void)
{
    const auto locker = lock();
    record("qny_stop", {});
    state().isStarted = false;
}

bool qny_is_started(void)
{
    const auto locker = lock();
    return state().isStarted;
}

bool qny_is_secured(void)
{
    return false;
}

const qny_certificate_t* qny_caller_certificate(void)
{
    return nullptr;
}

char* qny_endpoint(void)
{
    return qny_is_started() ? copyText("tcp://127.0.0.1:1") : nullptr;
}

char* qny_host_name(void)
{
    const auto locker = lock();
    return copyText(state().hostName);
}

qny_device_t* qny_devices(size_t* count)
{
    static const char name[] = "lo";
    static const char address[] = "127.0.0.1";
    auto* const device = static_cast<qny_device_t*>(std::malloc(sizeof(qny_device_t)));
    *device = { name, address, true };
    *count = 1;
    return device;
}

qny_result_t qny_set_command_line(int argc, const char* const* argv, const char* const*)
{
    const auto locker = lock();
    QStringList arguments;
    for (int i = 0; i < argc; ++i) {
        arguments.append(QString::fromUtf8(argv[i]));
    }
    return record("qny_set_command_line", arguments);
}

void qny_statistics(qny_statistics_t* statistics)
{
    *statistics = {};
}

// Every file of their endings is a certificate, named as the file is; others are refused, and what is missing.
qny_result_t qny_certificate_read(const char* path, qny_certificate_t** certificate)
{
    const QFileInfo file(QString::fromUtf8(path));
    const bool isPrivate = file.suffix() == "cert_secret";
    if (!file.isFile() || (!isPrivate && file.suffix() != "cert")) {
        return fail(QNY_ERROR_SECURITY);
    }
    // One piece of memory, as the library hands it out.
    const QByteArray name = file.completeBaseName().toUtf8();
    auto* const memory
        = static_cast<char*>(std::malloc(sizeof(qny_certificate_t) + static_cast<size_t>(name.size()) + 1));
    char* const text = memory + sizeof(qny_certificate_t);
    std::memcpy(text, name.constData(), static_cast<size_t>(name.size()) + 1);
    *certificate = new (memory) qny_certificate_t { text, text, "", isPrivate, nullptr };
    return QNY_SUCCESS;
}

qny_result_t qny_certificates_check(const char* directory, qny_certificate_finding_fn function, void* user_data)
{
    const QDir folder(QString::fromUtf8(directory));
    for (const QString& file : folder.entryList(QDir::Files, QDir::Name)) {
        if (file.endsWith(QLatin1String("_secret"))) {
            continue;
        }
        qny_certificate_t* certificate = nullptr;
        const QByteArray path = folder.filePath(file).toUtf8();
        const bool isOne = qny_certificate_read(path.constData(), &certificate) == QNY_SUCCESS;
        function(certificate, isOne ? nullptr : (path + ":1: there is no section curve").constData(), user_data);
        qny_free(certificate);
    }
    return folder.exists() ? QNY_SUCCESS : fail(QNY_ERROR_SECURITY);
}

// ---- values -----------------------------------------------------------------------------------------------------

const char* qny_value_type_text(qny_value_type_t type)
{
    switch (type) {
    case QNY_IMPULSE_T:
        return "impulse";
    case QNY_BOOL_T:
        return "bool";
    case QNY_INTEGER_T:
        return "integer";
    case QNY_DOUBLE_T:
        return "double";
    case QNY_STRING_T:
        return "string";
    case QNY_DATA_T:
        return "data";
    case QNY_UNKNOWN_T:
        break;
    }
    return "unknown";
}

qny_value_type_t qny_value_type_from_text(const char* text)
{
    for (const qny_value_type_t type :
        { QNY_IMPULSE_T, QNY_BOOL_T, QNY_INTEGER_T, QNY_DOUBLE_T, QNY_STRING_T, QNY_DATA_T }) {
        if (text && std::strcmp(text, qny_value_type_text(type)) == 0) {
            return type;
        }
    }
    return QNY_UNKNOWN_T;
}

// ---- arguments of services --------------------------------------------------------------------------------------

namespace {

qny_service_arg_t* append(qny_service_arg_t** list, qny_value_type_t type)
{
    auto* const argument = new qny_service_arg_t {};
    argument->name = copyText("");
    argument->type = type;
    while (*list) {
        list = &(*list)->next;
    }
    *list = argument;
    return argument;
}

} // namespace

qny_result_t qny_service_args_add_bool(qny_service_arg_t** list, bool value)
{
    append(list, QNY_BOOL_T)->b = value;
    return QNY_SUCCESS;
}

qny_result_t qny_service_args_add_int(qny_service_arg_t** list, int32_t value)
{
    append(list, QNY_INTEGER_T)->i = value;
    return QNY_SUCCESS;
}

qny_result_t qny_service_args_add_double(qny_service_arg_t** list, double value)
{
    append(list, QNY_DOUBLE_T)->d = value;
    return QNY_SUCCESS;
}

qny_result_t qny_service_args_add_string(qny_service_arg_t** list, const char* value)
{
    if (!value) {
        return fail(QNY_ERROR_ARGUMENT);
    }
    const QByteArray text(value);
    if (!text.isValidUtf8()) {
        return fail(QNY_ERROR_UTF8);
    }
    qny_service_arg_t* const argument = append(list, QNY_STRING_T);
    argument->c = copyText(text);
    argument->size = static_cast<size_t>(text.size()) + 1;
    return QNY_SUCCESS;
}

qny_result_t qny_service_args_add_data(qny_service_arg_t** list, const void* data, size_t size)
{
    qny_service_arg_t* const argument = append(list, QNY_DATA_T);
    // As the library does it, no bytes are a null pointer.
    argument->data
        = size > 0 ? copyText(QByteArray(static_cast<const char*>(data), static_cast<qsizetype>(size))) : nullptr;
    argument->size = size;
    return QNY_SUCCESS;
}

void qny_service_args_destroy(qny_service_arg_t** list)
{
    while (list && *list) {
        qny_service_arg_t* const argument = *list;
        *list = argument->next;
        if (argument->type == QNY_STRING_T) {
            std::free(argument->c);
        } else if (argument->type == QNY_DATA_T) {
            std::free(argument->data);
        }
        std::free(argument->name);
        delete argument;
    }
}

size_t qny_service_args_count(const qny_service_arg_t* list)
{
    size_t count = 0;
    for (; list; list = list->next) {
        ++count;
    }
    return count;
}

// ---- other agents -----------------------------------------------------------------------------------------------

qny_result_t qny_monitor_add(const char* agentUuid, qny_publication_fn, void*)
{
    const auto locker = lock();
    return record("qny_monitor_add", { QString::fromUtf8(agentUuid) });
}

qny_result_t qny_monitor_remove(const char* agentUuid)
{
    const auto locker = lock();
    return record("qny_monitor_remove", { QString::fromUtf8(agentUuid) });
}

qny_result_t qny_observe_agents(qny_agent_event_fn callback, void* userData)
{
    const auto locker = lock();
    state().agentObservers.append({ callback, userData });
    return record("qny_observe_agents", {});
}

qny_result_t qny_unobserve_agents(qny_agent_event_fn callback, void* userData)
{
    const auto locker = lock();
    state().agentObservers.removeIf(
        [&](const AgentObserver& observer) { return observer.callback == callback && observer.userData == userData; });
    return record("qny_unobserve_agents", {});
}

bool qny_agent_is_present(const char* agentNameOrUuid)
{
    const auto locker = lock();
    const QString key = QString::fromUtf8(agentNameOrUuid);
    for (const Agent& agent : std::as_const(state().agents)) {
        if (agent.uuid == key || agent.name == key) {
            return true;
        }
    }
    return false;
}

qny_result_t qny_request_stop(const char* agentUuid)
{
    const auto locker = lock();
    const qny_result_t result = record("qny_request_stop", { QString::fromUtf8(agentUuid) });
    if (result == QNY_SUCCESS) {
        state().stopRequests.append(QString::fromUtf8(agentUuid));
    }
    return result;
}

qny_result_t qny_observe_stop_requests(qny_stop_fn callback, void* userData)
{
    const auto locker = lock();
    state().stopCallback = callback;
    state().stopUserData = userData;
    return record("qny_observe_stop_requests", {});
}

bool qny_name_is_valid(const char* name, bool ofAgent)
{
    const QString text = QString::fromUtf8(name);
    const QString refused = ofAgent ? QStringLiteral("\"\\/*?#") : QStringLiteral("\"\\/*?");
    bool isValid = !text.isEmpty() && text == text.trimmed() && !text.startsWith(u'-') && text.toUtf8().size() <= 255;
    for (const QChar character : text) {
        isValid = isValid && !refused.contains(character) && character.category() != QChar::Other_Control;
    }
    return isValid;
}
