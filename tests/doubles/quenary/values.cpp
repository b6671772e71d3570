// SPDX-License-Identifier: Apache-2.0
#include "state.h"

#include <cstdlib>
#include <cstring>

// Values in Qt's form and in that of the network library.

namespace QuenaryDouble {

namespace {

template <typename T> QByteArray bytesOf(T value)
{
    return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
}

// The other way; zero when there are too few bytes.
template <typename T> T scalarOf(const QByteArray& bytes)
{
    T value {};
    if (bytes.size() >= qsizetype(sizeof value)) {
        std::memcpy(&value, bytes.constData(), sizeof value);
    }
    return value;
}

void appendRawArgument(qny_service_arg_t** list, const RawValue& value)
{
    qny_service_args_add_int(list, 0);
    qny_service_arg_t* argument = *list;
    while (argument->next) {
        argument = argument->next;
    }
    argument->type = value.type;
    argument->size = static_cast<size_t>(value.bytes.size());
    switch (value.type) {
    case QNY_BOOL_T:
        argument->b = scalarOf<char>(value.bytes) != 0;
        break;
    case QNY_INTEGER_T:
        argument->i = scalarOf<int32_t>(value.bytes);
        break;
    case QNY_DOUBLE_T:
        argument->d = scalarOf<double>(value.bytes);
        break;
    case QNY_STRING_T:
        argument->c = value.bytes.isNull() ? nullptr : copyText(value.bytes);
        ++argument->size;
        break;
    case QNY_DATA_T:
        argument->data = value.bytes.isEmpty() ? nullptr : copyText(value.bytes);
        break;
    case QNY_IMPULSE_T:
    case QNY_UNKNOWN_T:
        break;
    }
}

} // namespace

QString typeText(qny_value_type_t type)
{
    return QString::fromLatin1(qny_value_type_text(type));
}

char* copyText(const QByteArray& text)
{
    auto* const copy = static_cast<char*>(std::malloc(static_cast<size_t>(text.size()) + 1));
    std::memcpy(copy, text.constData(), static_cast<size_t>(text.size()) + 1);
    return copy;
}

QVariant toVariant(qny_value_type_t type, const void* value, size_t size)
{
    if (!value) {
        return QVariant();
    }
    switch (type) {
    case QNY_BOOL_T:
        return *static_cast<const bool*>(value);
    case QNY_INTEGER_T:
        return *static_cast<const int32_t*>(value);
    case QNY_DOUBLE_T:
        return *static_cast<const double*>(value);
    case QNY_STRING_T:
        return QString::fromUtf8(static_cast<const char*>(value));
    case QNY_DATA_T:
        return QByteArray(static_cast<const char*>(value), static_cast<qsizetype>(size));
    case QNY_IMPULSE_T:
    case QNY_UNKNOWN_T:
        break;
    }
    return QVariant();
}

void appendArgument(qny_service_arg_t** list, const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        qny_service_args_add_bool(list, value.toBool());
        break;
    case QMetaType::Int:
        qny_service_args_add_int(list, value.toInt());
        break;
    case QMetaType::Double:
        qny_service_args_add_double(list, value.toDouble());
        break;
    case QMetaType::QByteArray:
        qny_service_args_add_data(
            list, value.toByteArray().constData(), static_cast<size_t>(value.toByteArray().size()));
        break;
    default:
        if (value.canConvert<RawValue>()) {
            appendRawArgument(list, value.value<RawValue>());
        } else {
            qny_service_args_add_string(list, value.toString().toUtf8().constData());
        }
    }
}

std::optional<RawValue> convert(QVariant value, qny_value_type_t type)
{
    const auto becomes = [&value](QMetaType::Type wanted) {
        // Bytes are data and nothing else.
        const bool isData = value.typeId() == QMetaType::QByteArray;
        return isData == (wanted == QMetaType::QByteArray) && value.convert(QMetaType(wanted));
    };
    switch (type) {
    case QNY_BOOL_T:
        return becomes(QMetaType::Bool) ? std::optional(RawValue { type, bytesOf(value.toBool()) }) : std::nullopt;
    case QNY_INTEGER_T:
        return becomes(QMetaType::Int) ? std::optional(RawValue { type, bytesOf(value.toInt()) }) : std::nullopt;
    case QNY_DOUBLE_T:
        return becomes(QMetaType::Double) ? std::optional(RawValue { type, bytesOf(value.toDouble()) }) : std::nullopt;
    case QNY_STRING_T:
        return becomes(QMetaType::QString) ? std::optional(RawValue { type, value.toString().toUtf8() }) : std::nullopt;
    case QNY_DATA_T:
        return becomes(QMetaType::QByteArray) ? std::optional(RawValue { type, value.toByteArray() }) : std::nullopt;
    case QNY_IMPULSE_T:
        return RawValue { type, QByteArray() };
    case QNY_UNKNOWN_T:
        break;
    }
    return std::nullopt;
}

} // namespace QuenaryDouble
