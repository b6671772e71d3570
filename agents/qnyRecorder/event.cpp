// SPDX-License-Identifier: Apache-2.0
#include "event.h"

#include "quenary.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

namespace recorder {

static_assert(static_cast<int>(ValueType::Impulse) == QNY_IMPULSE_T);
static_assert(static_cast<int>(ValueType::Bool) == QNY_BOOL_T);
static_assert(static_cast<int>(ValueType::Integer) == QNY_INTEGER_T);
static_assert(static_cast<int>(ValueType::Double) == QNY_DOUBLE_T);
static_assert(static_cast<int>(ValueType::String) == QNY_STRING_T);
static_assert(static_cast<int>(ValueType::Data) == QNY_DATA_T);

namespace {
constexpr std::string_view typeNames[] = { "", "impulse", "bool", "integer", "double", "string", "data" };
}

std::string_view toText(ValueType type)
{
    return typeNames[static_cast<std::size_t>(type)];
}

bool valueTypeFromText(std::string_view text, ValueType& type)
{
    for (unsigned number = 1; number < std::size(typeNames); ++number) {
        if (typeNames[number] == text) {
            type = static_cast<ValueType>(number);
            return true;
        }
    }
    return false;
}

bool isValueType(unsigned number)
{
    return number >= 1 && number < std::size(typeNames);
}

ValueView ValueView::fromBool(bool value)
{
    ValueView view;
    view.type = ValueType::Bool;
    view.boolean = value;
    return view;
}

ValueView ValueView::fromInteger(std::int32_t value)
{
    ValueView view;
    view.type = ValueType::Integer;
    view.integer = value;
    return view;
}

ValueView ValueView::fromDouble(double value)
{
    ValueView view;
    view.type = ValueType::Double;
    view.real = std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value;
    return view;
}

ValueView ValueView::fromString(std::string_view utf8)
{
    ValueView view;
    view.type = ValueType::String;
    view.bytes = utf8;
    return view;
}

ValueView ValueView::fromData(std::string_view bytes)
{
    ValueView view;
    view.type = ValueType::Data;
    view.bytes = bytes;
    return view;
}

bool ValueView::fromRaw(unsigned number, const void* value, std::size_t size, ValueView& view)
{
    if (!isValueType(number)) {
        return false;
    }
    const char* bytes = static_cast<const char*>(value);
    switch (static_cast<ValueType>(number)) {
    case ValueType::Impulse:
        view = impulse();
        return true;
    case ValueType::Bool: {
        if (!value || size < sizeof(bool)) {
            return false;
        }
        view = fromBool(*bytes != 0);
        return true;
    }
    case ValueType::Integer: {
        std::int32_t integer = 0;
        if (!value || size < sizeof(integer)) {
            return false;
        }
        std::memcpy(&integer, value, sizeof(integer));
        view = fromInteger(integer);
        return true;
    }
    case ValueType::Double: {
        double real = 0;
        if (!value || size < sizeof(real)) {
            return false;
        }
        std::memcpy(&real, value, sizeof(real));
        view = fromDouble(real);
        return true;
    }
    case ValueType::String:
        if (!value || size == 0 || bytes[size - 1] != '\0') {
            return false;
        }
        view = fromString({ bytes, size - 1 });
        return true;
    case ValueType::Data:
        if (!value && size != 0) {
            return false;
        }
        view = fromData({ bytes ? bytes : "", size });
        return true;
    }
    return false;
}

bool operator==(const ValueView& left, const ValueView& right)
{
    if (left.type != right.type) {
        return false;
    }
    switch (left.type) {
    case ValueType::Impulse:
        return true;
    case ValueType::Bool:
        return left.boolean == right.boolean;
    case ValueType::Integer:
        return left.integer == right.integer;
    case ValueType::Double:
        return std::bit_cast<std::uint64_t>(left.real) == std::bit_cast<std::uint64_t>(right.real);
    case ValueType::String:
    case ValueType::Data:
        return left.bytes == right.bytes;
    }
    return false;
}

// ---- Value

// Copies everything but the bytes, which the caller has put into m_bytes.
void Value::adopt(const ValueView& scalars)
{
    m_view = scalars;
    m_view.bytes = m_bytes;
}

Value::Value(const ValueView& view)
    : m_bytes(view.bytes)
{
    adopt(view);
}

Value::Value(const Value& other)
    : m_bytes(other.m_bytes)
{
    adopt(other.m_view);
}

Value::Value(Value&& other) noexcept
    : m_bytes(std::move(other.m_bytes))
{
    adopt(other.m_view);
    other.m_bytes.clear();
    other.m_view = ValueView();
}

Value& Value::operator=(const Value& other)
{
    if (this != &other) {
        m_bytes = other.m_bytes;
        adopt(other.m_view);
    }
    return *this;
}

Value& Value::operator=(Value&& other) noexcept
{
    if (this != &other) {
        m_bytes = std::move(other.m_bytes);
        adopt(other.m_view);
        other.m_bytes.clear();
        other.m_view = ValueView();
    }
    return *this;
}

Value& Value::operator=(const ValueView& view)
{
    // The view may look into this very value; assign() copes with overlapping memory.
    const ValueView scalars = view;
    m_bytes.assign(scalars.bytes.data() ? scalars.bytes.data() : "", scalars.bytes.size());
    adopt(scalars);
    return *this;
}

// ---- Event and friends

Event::Event(std::int64_t time, std::string_view agentName, std::string_view outputName, const ValueView& content)
    : timeUs(time)
    , agent(agentName)
    , output(outputName)
    , value(content)
{
}

Event::Event(const EventView& view)
    : Event(view.timeUs, view.agent, view.output, view.value)
{
}

bool operator==(const Event& left, const Event& right)
{
    return left.timeUs == right.timeUs && left.agent == right.agent && left.output == right.output
        && left.value.view() == right.value.view();
}

bool operator==(const OutputValue& left, const OutputValue& right)
{
    return left.agent == right.agent && left.output == right.output && left.value.view() == right.value.view();
}

bool operator==(const AgentDefinition& left, const AgentDefinition& right)
{
    return left.agent == right.agent && left.json == right.json;
}

} // namespace recorder
