// SPDX-License-Identifier: Apache-2.0
#include "database.h"

#include <sqlite3.h>

#include <thread>

namespace recorder {

namespace {

// The memory that connections share lies in a file too: nothing but a full disk keeps it from growing.
int primaryCode(int code)
{
    return code == SQLITE_IOERR_SHMSIZE ? SQLITE_FULL : code & 0xFF;
}

StoreError kindOf(int code)
{
    switch (primaryCode(code)) {
    case SQLITE_FULL:
        return StoreError::Full;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return StoreError::InUse;
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_AUTH:
        return StoreError::Unreachable;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
        return StoreError::Damaged;
    default:
        return StoreError::Other;
    }
}

std::string advice(int code)
{
    switch (primaryCode(code)) {
    case SQLITE_FULL:
        return " Make room on that disk, or give another --data-directory.";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return " Another recorder has been writing to it for too long.";
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_READONLY:
        return " Check that the directory exists and may be written, or give another --data-directory.";
    case SQLITE_NOTADB:
        return " It is no store of records: move it away, or give another --data-directory.";
    default:
        return {};
    }
}

} // namespace

// ---- Database

Database::~Database()
{
    sqlite3_close_v2(m_handle);
}

StoreResult Database::open(const std::filesystem::path& file, int busyMs)
{
    m_file = file.string();
    m_patience = std::chrono::milliseconds(busyMs);
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    const int code = sqlite3_open_v2(m_file.c_str(), &m_handle, flags, nullptr);
    if (code != SQLITE_OK) {
        StoreResult result = failure(code, "open it");
        sqlite3_close_v2(m_handle);
        m_handle = nullptr;
        return result;
    }
    sqlite3_busy_timeout(m_handle, busyMs);
    // Without it SQLite takes no room before it writes; a larger one would keep some of what deleting frees.
    int chunk = 1;
    sqlite3_file_control(m_handle, "main", SQLITE_FCNTL_CHUNK_SIZE, &chunk);
    return StoreResult::done();
}

StoreResult Database::execute(const std::string& sql)
{
    const int code = sqlite3_exec(m_handle, sql.c_str(), nullptr, nullptr, nullptr);
    return code == SQLITE_OK ? StoreResult::done() : failure(code, "work on it");
}

StoreResult Database::executeAlone(const std::string& sql)
{
    constexpr std::chrono::milliseconds pause(2);
    const auto end = std::chrono::steady_clock::now() + m_patience;
    StoreResult result = execute(sql);
    while (result.error == StoreError::InUse && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(pause);
        result = execute(sql);
    }
    return result;
}

StoreResult Database::number(const std::string& sql, std::int64_t& value)
{
    Statement statement(*this, sql.c_str());
    value = statement.step() ? statement.integer(0) : 0;
    return statement.result();
}

StoreResult Database::takeRoom()
{
    std::int64_t needed = 0;
    const char* const all = "SELECT page_count * page_size FROM pragma_page_count, pragma_page_size";
    if (StoreResult result = number(all, needed); !result) {
        return result;
    }
    sqlite3_int64 bytes = needed;
    if (sqlite3_file_control(m_handle, "main", SQLITE_FCNTL_SIZE_HINT, &bytes) == SQLITE_OK) {
        return StoreResult::done();
    }
    std::error_code unknown;
    const std::uintmax_t has = std::filesystem::file_size(m_file, unknown);
    const std::uintmax_t free = unknown ? 0 : std::filesystem::space(m_file, unknown).available;
    const bool isFull = !unknown && has + free < static_cast<std::uintmax_t>(needed);
    return isFull ? failure(SQLITE_FULL, "store what was written") : StoreResult::done();
}

int Database::changes() const
{
    return sqlite3_changes(m_handle);
}

StoreResult Database::failure(int code, std::string_view doing) const
{
    std::string message = "The store " + m_file + " is in trouble: could not " + std::string(doing) + ": ";
    const bool isPlain = m_handle && kindOf(code) != StoreError::Full;
    message += isPlain ? sqlite3_errmsg(m_handle) : sqlite3_errstr(primaryCode(code));
    message += '.';
    message += advice(code);
    return StoreResult::failed(kindOf(code), std::move(message));
}

// ---- Statement

Statement::Statement(Database& database, const char* sql)
    : m_database(database)
{
    check(sqlite3_prepare_v3(database.handle(), sql, -1, SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr));
}

Statement::~Statement()
{
    sqlite3_finalize(m_statement);
}

// The first failure is kept until reset().
void Statement::check(int code)
{
    if (code != SQLITE_OK && m_result) {
        m_result = m_database.failure(code, "read or write");
    }
}

Statement& Statement::bind(int parameter, std::int64_t value)
{
    check(sqlite3_bind_int64(m_statement, parameter + 1, value));
    return *this;
}

Statement& Statement::bindText(int parameter, std::string_view text)
{
    const char* bytes = text.data() ? text.data() : "";
    check(sqlite3_bind_text64(m_statement, parameter + 1, bytes, text.size(), SQLITE_STATIC, SQLITE_UTF8));
    return *this;
}

Statement& Statement::bindBlob(int parameter, std::string_view bytes)
{
    const char* at = bytes.data() ? bytes.data() : "";
    check(sqlite3_bind_blob64(m_statement, parameter + 1, at, bytes.size(), SQLITE_STATIC));
    return *this;
}

Statement& Statement::bindNull(int parameter)
{
    check(sqlite3_bind_null(m_statement, parameter + 1));
    return *this;
}

bool Statement::step()
{
    if (!m_result) {
        return false;
    }
    const int code = sqlite3_step(m_statement);
    if (code == SQLITE_ROW) {
        return true;
    }
    if (code != SQLITE_DONE) {
        check(code);
    }
    return false;
}

StoreResult Statement::run()
{
    step();
    StoreResult result = m_result;
    reset();
    return result;
}

void Statement::reset()
{
    if (m_statement) {
        sqlite3_reset(m_statement);
        m_result = StoreResult::done();
    }
}

std::int64_t Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

std::string Statement::text(int column) const
{
    return std::string(blob(column));
}

std::string_view Statement::blob(int column) const
{
    const void* bytes = sqlite3_column_blob(m_statement, column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column));
    return bytes ? std::string_view(static_cast<const char*>(bytes), size) : std::string_view();
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

// ---- Transaction

Transaction::Transaction(Database& database, Begin begin)
    : m_database(database)
    , m_result(database.execute(begin == Begin::ToWrite ? "BEGIN IMMEDIATE" : "BEGIN DEFERRED"))
    , m_active(bool(m_result))
{
}

Transaction::~Transaction()
{
    // After some failures SQLite has rolled back by itself.
    if (m_active && sqlite3_get_autocommit(m_database.handle()) == 0) {
        sqlite3_exec(m_database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

StoreResult Transaction::commit()
{
    if (StoreResult result = m_database.takeRoom(); !result) {
        return result;
    }
    const int code = sqlite3_exec(m_database.handle(), "COMMIT", nullptr, nullptr, nullptr);
    if (code == SQLITE_OK) {
        m_active = false;
        // Whoever moved the log meanwhile has cut the file to what was stored before.
        (void)m_database.takeRoom();
        return StoreResult::done();
    }
    StoreResult result = m_database.failure(code, "store what was written");
    if ((code & 0xFF) == SQLITE_IOERR) {
        result.outcome = Outcome::Unknown;
    }
    return result;
}

} // namespace recorder
