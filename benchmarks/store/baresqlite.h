// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "storeload.h"

#include <filesystem>
#include <sqlite3.h>

namespace recorder::bench {

// SQLite alone, with the settings of the embedded store.
class BareSqlite
{
public:
    static constexpr int chunksATransaction = 16;

    BareSqlite(const std::filesystem::path& file, const char* schema)
    {
        must(sqlite3_open(file.c_str(), &m_database) == SQLITE_OK, "cannot open " + file.string());
        execute("PRAGMA page_size = 16384; PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;");
        execute(schema);
    }
    ~BareSqlite() { sqlite3_close_v2(m_database); }
    BareSqlite(const BareSqlite&) = delete;
    BareSqlite& operator=(const BareSqlite&) = delete;

    void execute(const char* sql)
    {
        must(sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sqlite3_errmsg(m_database));
    }
    sqlite3_stmt* prepare(const char* sql)
    {
        sqlite3_stmt* statement = nullptr;
        must(sqlite3_prepare_v2(m_database, sql, -1, &statement, nullptr) == SQLITE_OK, sqlite3_errmsg(m_database));
        return statement;
    }

private:
    sqlite3* m_database = nullptr;
};

// Rows of ready bytes in transactions of several: nothing but SQLite's own work.
class BareChunks
{
public:
    explicit BareChunks(const std::filesystem::path& file)
        : m_database(file, "CREATE TABLE chunks (id INTEGER PRIMARY KEY, first_us INTEGER, packed BLOB);")
        , m_insert(m_database.prepare("INSERT INTO chunks (first_us, packed) VALUES (?, ?)"))
    {
    }
    ~BareChunks() { sqlite3_finalize(m_insert); }
    BareChunks(const BareChunks&) = delete;
    BareChunks& operator=(const BareChunks&) = delete;

    void add(std::string_view packed)
    {
        if (m_count % BareSqlite::chunksATransaction == 0) {
            m_database.execute(m_count == 0 ? "BEGIN" : "COMMIT; BEGIN");
        }
        sqlite3_bind_int64(m_insert, 1, m_count++);
        sqlite3_bind_blob64(m_insert, 2, packed.data(), packed.size(), SQLITE_STATIC);
        must(sqlite3_step(m_insert) == SQLITE_DONE, "insert failed");
        sqlite3_reset(m_insert);
    }
    void commit() { m_database.execute("COMMIT"); }

private:
    BareSqlite m_database;
    sqlite3_stmt* m_insert;
    std::int64_t m_count = 0;
};

} // namespace recorder::bench
