// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace recorder {

// The kinds of value that an output can have. The numbers are those of qny_value_type_t, and are stored: never
// renumber.
enum class ValueType : std::uint8_t
{
    Impulse = 1,
    Bool = 2,
    Integer = 3,
    Double = 4,
    String = 5,
    Data = 6
};

// "impulse", "bool", "integer", "double", "string", "data".
std::string_view toText(ValueType type);
// False when the text names no type; `type` is then left alone.
bool valueTypeFromText(std::string_view text, ValueType& type);
// Whether a stored or received number is one of ValueType's.
bool isValueType(unsigned number);

// A value whose bytes belong to somebody else. Strings are UTF-8 without a final zero byte.
// All NaN are one NaN: sign and payload are not kept, so that a record is the same after a way through text.
struct ValueView
{
    ValueType type = ValueType::Impulse;
    union {
        bool boolean;
        std::int32_t integer;
        double real = 0;
    };
    std::string_view bytes;

    static ValueView impulse() { return {}; }
    static ValueView fromBool(bool value);
    static ValueView fromInteger(std::int32_t value);
    static ValueView fromDouble(double value);
    static ValueView fromString(std::string_view utf8);
    static ValueView fromData(std::string_view bytes);
    // From what the network library hands out: `number` a qny_value_type_t, `value` and `size` as quenary.h tells (a
    // string's size counts its zero byte). False when type, pointer and size do not fit together.
    static bool fromRaw(unsigned number, const void* value, std::size_t size, ValueView& view);
};

// The same type and bits.
bool operator==(const ValueView& left, const ValueView& right);

// A value with bytes of its own.
class Value
{
public:
    Value() = default;
    Value(const ValueView& view); // a copy; deliberately implicit
    Value(const Value& other);
    Value(Value&& other) noexcept;
    Value& operator=(const Value& other);
    Value& operator=(Value&& other) noexcept;
    Value& operator=(const ValueView& view); // reuses the memory that is there
    ~Value() = default;

    ValueType type() const { return m_view.type; }
    // Valid until this value changes, moves or ends.
    const ValueView& view() const { return m_view; }
    operator const ValueView&() const { return m_view; }

private:
    void adopt(const ValueView& scalars);

    ValueView m_view;
    std::string m_bytes;
};

// One publication in a record. Names and value belong to whoever hands the event out.
struct EventView
{
    std::int64_t timeUs = 0; // since the start of the record, pauses cut out; never negative in a store
    std::string_view agent;
    std::string_view output;
    ValueView value;
};

// The same with memory of its own.
struct Event
{
    std::int64_t timeUs = 0;
    std::string agent;
    std::string output;
    Value value;

    Event() = default;
    Event(std::int64_t time, std::string_view agentName, std::string_view outputName, const ValueView& content);
    explicit Event(const EventView& view);
    EventView view() const { return { timeUs, agent, output, value.view() }; }
};
bool operator==(const Event& left, const Event& right);

// What an output holds at some point of a record.
struct OutputValue
{
    std::string agent;
    std::string output;
    Value value;
};
bool operator==(const OutputValue& left, const OutputValue& right);

// A recorded agent: what a stand-in is made from. `json` as qny_agent_definition() gives it.
struct AgentDefinition
{
    std::string agent;
    std::string json;
};
bool operator==(const AgentDefinition& left, const AgentDefinition& right);

// Where an event was lost on its way into the record.
enum class LostIn
{
    Network, // gaps in the sender's numbering
    Queue, // the recorder's own queue was full
    Store // the store did not take it
};

// What is known of one output of one agent. What a filter or a pause left out is in none of these numbers.
struct OutputCompleteness
{
    std::string agent;
    std::string output;
    std::uint64_t stored = 0;
    std::uint64_t lostNetwork = 0;
    std::uint64_t lostQueue = 0;
    std::uint64_t lostStore = 0;
    std::int64_t longestGapUs
        = 0; // longest time between two stored events that follow one another; 0 with fewer than two

    std::uint64_t lost() const { return lostNetwork + lostQueue + lostStore; }
};
bool operator==(const OutputCompleteness& left, const OutputCompleteness& right);

// How complete a record is. `outputs` is sorted by agent, then output (bytewise), one entry each.
struct Completeness
{
    std::vector<OutputCompleteness> outputs;
    std::vector<std::string> remarks; // sentences for a person: why the record is incomplete beyond the numbers

    bool isComplete() const;
    std::uint64_t stored() const;
    std::uint64_t lost() const;
    // One line of JSON, the same for equal contents:
    // {"version":1,"complete":true,"remarks":[],"outputs":[{"agent":"…","output":"…","stored":1,
    //  "lost":{"network":0,"queue":0,"store":0},"longest_gap_us":0}]}
    std::string toJson() const;
    // False, with the reason, for a text that is not such JSON; unknown keys are let pass.
    static bool fromJson(std::string_view json, Completeness& completeness, std::string& reason);
    // Sentences for the log: one in sum, then one for each output that lost something, at most `most` of those.
    std::vector<std::string> report(std::size_t most = 20) const;
};
bool operator==(const Completeness& left, const Completeness& right);

} // namespace recorder
