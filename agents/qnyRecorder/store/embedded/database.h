// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../result.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace recorder {

// One SQLite connection. Not thread-safe: whoever holds it sees to that.
class Database
{
public:
    Database() = default;
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    StoreResult open(const std::filesystem::path& file, int busyMs);
    bool isOpen() const { return m_handle != nullptr; }
    // Several statements, without results.
    StoreResult execute(const std::string& sql);
    // The same for what needs the file for itself alone: SQLite gives such a statement up as soon as somebody reads.
    StoreResult executeAlone(const std::string& sql);
    // One number; 0 when there is no row.
    StoreResult number(const std::string& sql, std::int64_t& value);
    int changes() const;
    // Sets room aside in the file for all pages, also those that stand in the log alone, so that the log can always be
    // moved into the file. Full when the disk has no room for them; where the file system cannot tell, nothing is said.
    StoreResult takeRoom();
    // A result for what SQLite just reported. `doing` completes "Could not …".
    StoreResult failure(int code, std::string_view doing) const;
    sqlite3* handle() const { return m_handle; }

private:
    sqlite3* m_handle = nullptr;
    std::string m_file;
    std::chrono::milliseconds m_patience {};
};

// A prepared statement, kept and used again. Parameters and columns count from 0.
class Statement
{
public:
    Statement(Database& database, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& bind(int parameter, std::int64_t value);
    // The bytes must stay until the statement is reset.
    Statement& bindText(int parameter, std::string_view text);
    Statement& bindBlob(int parameter, std::string_view bytes);
    Statement& bindNull(int parameter);

    // True with a row. False at the end and after a failure: result() tells which.
    bool step();
    // For statements without rows: steps, resets, and gives the result.
    StoreResult run();
    void reset();
    const StoreResult& result() const { return m_result; }

    std::int64_t integer(int column) const;
    std::string text(int column) const;
    std::string_view blob(int column) const; // valid until the next step or reset
    bool isNull(int column) const;

private:
    void check(int code);

    Database& m_database;
    sqlite3_stmt* m_statement = nullptr;
    StoreResult m_result;
};

// A transaction, rolled back unless committed. Waits for other writers as long as the connection's patience lasts.
class Transaction
{
public:
    enum class Begin
    {
        ToWrite, // nobody else writes from the beginning on
        ToRead // all that is read is of one moment
    };
    explicit Transaction(Database& database, Begin begin = Begin::ToWrite);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    const StoreResult& result() const { return m_result; } // of the beginning
    // A failure here may leave it unknown whether the transaction is stored.
    StoreResult commit();

private:
    Database& m_database;
    StoreResult m_result;
    bool m_active = false;
};

} // namespace recorder
