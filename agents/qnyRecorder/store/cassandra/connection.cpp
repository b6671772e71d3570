// SPDX-License-Identifier: Apache-2.0
#include "connection.h"

namespace recorder::cassandra {

namespace {

constexpr std::uint32_t rowsInFlight = 128;

StoreError kindOf(cassandra_error error)
{
    switch (error) {
    case CASSANDRA_OK:
        return StoreError::None;
    case CASSANDRA_UNREACHABLE:
    case CASSANDRA_UNKNOWN:
        return StoreError::Unreachable;
    case CASSANDRA_WRONG_PASSWORD:
    case CASSANDRA_NOT_PERMITTED:
    case CASSANDRA_TLS:
    case CASSANDRA_BAD_CA:
    case CASSANDRA_REFUSED:
        return StoreError::Refused;
    case CASSANDRA_INTERNAL:
        break;
    }
    return StoreError::Other;
}

} // namespace

StoreResult Answer::result() const
{
    const cassandra_error error = cassandra_answer_error(m_answer.get());
    if (error == CASSANDRA_OK) {
        return StoreResult::done();
    }
    const char* text = cassandra_answer_text(m_answer.get());
    return error == CASSANDRA_UNKNOWN ? StoreResult::unknown(kindOf(error), text)
                                      : StoreResult::failed(kindOf(error), text);
}

std::string_view Answer::bytes(std::size_t row, std::size_t column) const
{
    const cassandra_value found = value(row, column);
    return { static_cast<const char*>(found.bytes), found.size };
}

Connection::~Connection()
{
    for (const auto& [cql, statement] : m_statements) {
        cassandra_statement_free(statement);
    }
    cassandra_disconnect(m_session);
}

StoreResult Connection::open(const cassandra_options& options)
{
    return Answer(cassandra_connect(&options, &m_session)).result();
}

StoreResult Connection::useKeyspace(const std::string& name)
{
    return Answer(cassandra_use_keyspace(m_session, name.c_str(), m_patience.readMs)).result();
}

Answer Connection::run(const std::string& statement)
{
    return Answer(cassandra_run(m_session, statement.c_str(), m_patience.schemaMs));
}

std::uint32_t Connection::patienceFor(Kind kind) const
{
    switch (kind) {
    case Kind::Write:
    case Kind::Count:
        return m_patience.writeMs;
    case Kind::Conditional:
        return m_patience.conditionalMs;
    case Kind::Read:
    case Kind::SerialRead:
        break;
    }
    return m_patience.readMs;
}

const cassandra_statement* Connection::known(const Cql& cql)
{
    const std::lock_guard guard(m_mutex);
    const auto place = m_statements.find(&cql);
    return place == m_statements.end() ? nullptr : place->second;
}

// Not under the lock: other statements go on when this one has to wait.
Answer Connection::prepare(const Cql& cql, const cassandra_statement*& statement)
{
    cassandra_statement* fresh = nullptr;
    Answer answer(cassandra_prepare(
        m_session, cql.text, static_cast<cassandra_kind>(cql.kind), cql.pageRows, patienceFor(cql.kind), &fresh));
    if (answer) {
        const std::lock_guard guard(m_mutex);
        const auto [place, isNew] = m_statements.emplace(&cql, fresh);
        if (!isNew) {
            cassandra_statement_free(fresh);
        }
        statement = place->second;
    }
    return answer;
}

Answer Connection::execute(const Cql& cql, std::initializer_list<Argument> arguments, const Answer* previous)
{
    const cassandra_statement* statement = known(cql);
    if (!statement) {
        if (Answer prepared = prepare(cql, statement); !prepared) {
            return prepared;
        }
    }
    return Answer(cassandra_execute(m_session, statement, arguments.begin(), arguments.size(),
        previous ? previous->handle() : nullptr, patienceFor(cql.kind)));
}

StoreResult Connection::executeIf(const Cql& cql, std::initializer_list<Argument> arguments, bool& applied)
{
    Answer answer = execute(cql, arguments);
    if (answer.result().outcome == Outcome::Unknown) {
        answer = execute(cql, arguments);
    }
    applied = answer && answer.applied();
    return answer.result();
}

StoreResult Connection::write(const std::vector<RowToWrite>& rows)
{
    std::vector<cassandra_row> given;
    given.reserve(rows.size());
    for (const RowToWrite& row : rows) {
        const cassandra_statement* statement = known(*row.statement);
        if (!statement) {
            if (const Answer prepared = prepare(*row.statement, statement); !prepared) {
                return prepared.result();
            }
        }
        given.push_back({ statement, row.values.data(), row.values.size() });
    }
    return Answer(cassandra_write_rows(m_session, given.data(), given.size(), rowsInFlight, m_patience.writeMs))
        .result();
}

StoreResult Connection::write(const Cql& cql, std::initializer_list<Argument> arguments)
{
    return execute(cql, arguments).result();
}

} // namespace recorder::cassandra
