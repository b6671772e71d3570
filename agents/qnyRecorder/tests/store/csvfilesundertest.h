// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "store/csvfile/csvfilestore.h"
#include "storesuite.h"

namespace recorder::testing {

// The store of CSV files as a test meets it.
class CsvFilesUnderTest : public StoreUnderTest
{
public:
    void makeEmpty() override
    {
        m_directory = std::make_unique<QTemporaryDir>();
        m_place = m_directory->path();
    }
    std::unique_ptr<Store> open(StoreResult& result, Store::MessageHandler onMessage = nullptr) override
    {
        CsvFileOptions options;
        options.directory = m_place.toStdString();
        options.onMessage = std::move(onMessage);
        return openCsvFileStore(options, result);
    }
    QString place() const override { return m_place; }
    void usePlace(const QString& place) override { m_place = place; }
    bool holdsAnythingOf(const std::string& uuid) override
    {
        const QString pattern = QLatin1Char('*') + QString::fromStdString(uuid) + QLatin1Char('*');
        return !QDir(m_place).entryList({ pattern }, QDir::Files | QDir::Hidden).isEmpty();
    }

private:
    std::unique_ptr<QTemporaryDir> m_directory;
    QString m_place;
};

} // namespace recorder::testing
