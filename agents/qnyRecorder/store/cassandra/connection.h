// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../result.h"
#include "driver/cassandra_driver.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace recorder::cassandra {

enum class Kind
{
    Write = CASSANDRA_WRITE,
    Read = CASSANDRA_READ,
    Conditional = CASSANDRA_CONDITIONAL,
    SerialRead = CASSANDRA_SERIAL_READ,
    Count = CASSANDRA_COUNT
};

// A statement as text; the address of a constant of this type names the prepared one.
struct Cql
{
    const char* text;
    Kind kind;
    std::uint32_t pageRows = 2'000;
};

// A value given to a statement. Texts and bytes must stay until the statement was executed.
class Argument : public cassandra_value
{
public:
    template <std::integral Number>
    Argument(Number number)
        : cassandra_value { CASSANDRA_INTEGER, static_cast<std::int64_t>(number), nullptr, 0 }
    {
    }
    Argument(std::string_view text)
        : cassandra_value { CASSANDRA_TEXT, 0, text.data(), text.size() }
    {
    }
    Argument(const std::string& text)
        : Argument(std::string_view(text))
    {
    }
    static Argument blob(std::string_view bytes) { return { CASSANDRA_BLOB, bytes }; }
    static Argument null() { return { CASSANDRA_NULL, {} }; }
    // The column stays as it is.
    static Argument unset() { return { CASSANDRA_UNSET, {} }; }
    static Argument textOrNull(bool isText, std::string_view text) { return isText ? Argument(text) : null(); }

private:
    Argument(cassandra_type what, std::string_view content)
        : cassandra_value { what, 0, content.data(), content.size() }
    {
    }
};

// One row to write.
struct RowToWrite
{
    const Cql* statement;
    std::vector<Argument> values;

    RowToWrite(const Cql& cql, std::initializer_list<Argument> arguments)
        : statement(&cql)
        , values(arguments)
    {
    }
};

// What a statement brought: a result and, when it is done, rows.
class Answer
{
public:
    explicit Answer(cassandra_answer* answer)
        : m_answer(answer)
    {
    }

    StoreResult result() const;
    explicit operator bool() const { return cassandra_answer_error(m_answer.get()) == CASSANDRA_OK; }
    bool applied() const { return cassandra_answer_applied(m_answer.get()) != 0; }
    std::size_t rows() const { return cassandra_answer_rows(m_answer.get()); }
    bool hasMore() const { return cassandra_answer_has_more(m_answer.get()) != 0; }

    bool isNull(std::size_t row, std::size_t column) const { return value(row, column).type == CASSANDRA_NULL; }
    std::int64_t integer(std::size_t row, std::size_t column) const { return value(row, column).integer; }
    std::uint64_t number(std::size_t row, std::size_t column) const
    {
        return static_cast<std::uint64_t>(integer(row, column));
    }
    // Of a text or blob; valid as long as the answer.
    std::string_view bytes(std::size_t row, std::size_t column) const;
    std::string text(std::size_t row, std::size_t column) const { return std::string(bytes(row, column)); }

    const cassandra_answer* handle() const { return m_answer.get(); }

private:
    struct Free
    {
        void operator()(cassandra_answer* answer) const { cassandra_answer_free(answer); }
    };

    cassandra_value value(std::size_t row, std::size_t column) const
    {
        return cassandra_answer_value(m_answer.get(), row, column);
    }

    std::unique_ptr<cassandra_answer, Free> m_answer;
};

struct Patience
{
    std::uint32_t connectMs = 5'000;
    std::uint32_t writeMs = 1'400; // each row
    std::uint32_t conditionalMs = 900; // each of two attempts
    std::uint32_t readMs = 3'000;
    std::uint32_t schemaMs = 15'000;
};

// A session with the cluster and the statements prepared in it. Every function may be called from any thread once
// open() has worked.
class Connection
{
public:
    explicit Connection(const Patience& patience)
        : m_patience(patience)
    {
    }
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    StoreResult open(const cassandra_options& options);
    bool isOpen() const { return m_session != nullptr; }
    StoreResult useKeyspace(const std::string& name);
    // A statement without values.
    Answer run(const std::string& statement);
    Answer execute(const Cql& cql, std::initializer_list<Argument> arguments, const Answer* previous = nullptr);
    // Calls row(answer, number) for every row of every page, until that is false.
    template <typename Row> StoreResult forEach(const Cql& cql, std::initializer_list<Argument> arguments, Row row)
    {
        Answer answer = execute(cql, arguments);
        while (answer) {
            for (std::size_t i = 0; i < answer.rows(); ++i) {
                if (!row(answer, i)) {
                    return StoreResult::done();
                }
            }
            if (!answer.hasMore()) {
                break;
            }
            answer = execute(cql, arguments, &answer);
        }
        return answer.result();
    }
    // A conditional write, again when its outcome is unknown: `applied` may be false although the first attempt was.
    StoreResult executeIf(const Cql& cql, std::initializer_list<Argument> arguments, bool& applied);
    // Many at a time, in no particular order.
    StoreResult write(const std::vector<RowToWrite>& rows);
    StoreResult write(const Cql& cql, std::initializer_list<Argument> arguments);

private:
    const cassandra_statement* known(const Cql& cql);
    Answer prepare(const Cql& cql, const cassandra_statement*& statement);
    std::uint32_t patienceFor(Kind kind) const;

    Patience m_patience;
    cassandra_session* m_session = nullptr;
    std::mutex m_mutex; // guards the statements
    std::map<const Cql*, cassandra_statement*> m_statements;
};

} // namespace recorder::cassandra
