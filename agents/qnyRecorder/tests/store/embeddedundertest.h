// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/embedded/embeddedstore.h"
#include "storesuite.h"

#include <sqlite3.h>

namespace recorder::testing {

// Works on the file behind the store's back.
inline bool runSql(const QString& directory, const QByteArray& sql, std::int64_t* number = nullptr)
{
    sqlite3* database = nullptr;
    bool good = sqlite3_open((directory + "/records.db").toUtf8().constData(), &database) == SQLITE_OK;
    sqlite3_busy_timeout(database, 5'000);
    if (good && number) {
        sqlite3_stmt* statement = nullptr;
        good = sqlite3_prepare_v2(database, sql.constData(), -1, &statement, nullptr) == SQLITE_OK
            && sqlite3_step(statement) == SQLITE_ROW;
        *number = sqlite3_column_int64(statement, 0);
        sqlite3_finalize(statement);
    } else if (good) {
        good = sqlite3_exec(database, sql.constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
    }
    sqlite3_close(database);
    return good;
}

// Of a record, deleted or not, or of none any more.
inline bool databaseHolds(const QString& directory, const std::string& uuid)
{
    std::int64_t rows = -1;
    const QByteArray records = "(SELECT count(*) FROM records WHERE uuid = '" + QByteArray::fromStdString(uuid) + "')";
    return !runSql(directory,
               "SELECT " + records
                   + " + (SELECT count(*) FROM chunks WHERE record NOT IN (SELECT id FROM records))"
                     " + (SELECT count(*) FROM states WHERE record NOT IN (SELECT id FROM records))",
               &rows)
        || rows != 0;
}

// The embedded store as a test meets it.
class EmbeddedUnderTest : public StoreUnderTest
{
public:
    void makeEmpty() override
    {
        m_directory = std::make_unique<QTemporaryDir>();
        m_place = m_directory->path();
    }
    std::unique_ptr<Store> open(StoreResult& result, Store::MessageHandler onMessage = nullptr) override
    {
        EmbeddedOptions options;
        options.directory = m_place.toStdString();
        options.onMessage = std::move(onMessage);
        return openEmbeddedStore(options, result);
    }
    QString place() const override { return m_place; }
    void usePlace(const QString& place) override { m_place = place; }
    bool holdsAnythingOf(const std::string& uuid) override { return databaseHolds(m_place, uuid); }

private:
    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_place;
};

} // namespace recorder::testing
