// SPDX-License-Identifier: Apache-2.0
#include "service_arguments.h"

#include "handed_out.h"
#include "report.h"
#include "text.h"
#include "value.h"

#include <cstring>

namespace qny {

namespace {

// Texts and data stay where they are.
qny_service_arg_t argumentOf(qny_value_type_t type, std::string_view bytes)
{
    qny_service_arg_t argument {};
    argument.type = type;
    argument.size = bytes.size();
    switch (type) {
    case QNY_BOOL_T:
        argument.b = bytes[0] != '\0';
        break;
    case QNY_INTEGER_T:
        argument.i = scalar<int32_t>(bytes);
        break;
    case QNY_DOUBLE_T:
        argument.d = scalar<double>(bytes);
        break;
    case QNY_STRING_T:
        argument.c = const_cast<char*>(bytes.data());
        break;
    default:
        argument.data = bytes.empty() ? nullptr : const_cast<char*>(bytes.data());
        break;
    }
    return argument;
}

} // namespace

void appendArgument(qny_service_arg_t**& tail, qny_value_type_t type, std::string_view bytes, std::string_view name)
{
    auto* argument = static_cast<qny_service_arg_t*>(allocate(sizeof(qny_service_arg_t)));
    *argument = argumentOf(type, bytes);
    argument->name = duplicate(name);
    if (type == QNY_STRING_T) {
        argument->c = duplicate(bytes.substr(0, bytes.size() - 1));
    } else if (type == QNY_DATA_T && !bytes.empty()) {
        argument->data = std::memcpy(allocate(bytes.size()), bytes.data(), bytes.size());
    }
    *tail = argument;
    tail = &argument->next;
}

void freeArguments(qny_service_arg_t* list)
{
    while (list) {
        qny_service_arg_t* next = list->next;
        qny_free(list->name);
        if (list->type == QNY_STRING_T) {
            qny_free(list->c);
        } else if (list->type == QNY_DATA_T) {
            qny_free(list->data);
        }
        qny_free(list);
        list = next;
    }
}

ReceivedArguments::ReceivedArguments(size_t count)
    : m_many(count > m_few.size() ? count : 0)
    , m_arguments(m_many.empty() ? m_few.data() : m_many.data())
{
}

void ReceivedArguments::add(qny_value_type_t type, std::string_view bytes, std::string_view name)
{
    m_arguments[m_count++] = argumentOf(type, bytes);
    m_names.append(name).push_back('\0');
}

qny_service_arg_t* ReceivedArguments::first()
{
    char* name = m_names.data();
    for (size_t i = 0; i < m_count; ++i) {
        m_arguments[i].name = name;
        m_arguments[i].next = i + 1 < m_count ? &m_arguments[i + 1] : nullptr;
        name += std::strlen(name) + 1;
    }
    return m_count > 0 ? m_arguments : nullptr;
}

namespace {

template <typename T> std::string_view raw(const T& value)
{
    return { reinterpret_cast<const char*>(&value), sizeof value };
}

qny_result_t append(qny_service_arg_t** list, qny_value_type_t type, std::string_view bytes)
{
    if (!list) {
        return fail(QNY_ERROR_ARGUMENT, "The pointer to the list of arguments is null.");
    }
    qny_service_arg_t** tail = list;
    while (*tail) {
        tail = &(*tail)->next;
    }
    appendArgument(tail, type, bytes, {});
    return QNY_SUCCESS;
}

} // namespace

} // namespace qny

using namespace qny;

qny_result_t qny_service_args_add_bool(qny_service_arg_t** list, bool value)
{
    const char byte = value ? '\1' : '\0';
    return append(list, QNY_BOOL_T, { &byte, 1 });
}

qny_result_t qny_service_args_add_int(qny_service_arg_t** list, int32_t value)
{
    return append(list, QNY_INTEGER_T, raw(value));
}

qny_result_t qny_service_args_add_double(qny_service_arg_t** list, double value)
{
    return append(list, QNY_DOUBLE_T, raw(value));
}

qny_result_t qny_service_args_add_string(qny_service_arg_t** list, const char* value)
{
    if (!value) {
        return fail(QNY_ERROR_ARGUMENT, "The string argument is null.");
    }
    if (!isUtf8(value)) {
        return fail(QNY_ERROR_UTF8, "The string argument is not valid UTF-8.");
    }
    return append(list, QNY_STRING_T, { value, std::strlen(value) + 1 });
}

qny_result_t qny_service_args_add_data(qny_service_arg_t** list, const void* data, size_t size)
{
    if (!data && size > 0) {
        return fail(QNY_ERROR_ARGUMENT, "The data argument is null.");
    }
    return append(list, QNY_DATA_T, { static_cast<const char*>(data), size });
}

void qny_service_args_destroy(qny_service_arg_t** list)
{
    if (list) {
        freeArguments(*list);
        *list = nullptr;
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
