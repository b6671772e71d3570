// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commandline.h"
#include "store/store.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>

namespace recorder::bench {

// One of the stores, as a recorder's command line names it.
struct StorePlace
{
    QString name; // "embedded", "csv", "cassandra"
    QStringList options; // of qnyRecorder
    Settings settings; // the same, read

    // Opens it in this process.
    std::unique_ptr<Store> open() const;
    // Whether something waits in journals for Cassandra.
    bool hasJournals() const;
    // Waits until the database has what is in the journals; the store must be open somewhere. Seconds.
    double waitUntilDrained() const;
};

// What the words "embedded", "csv" or HOST:PORT mean, with data in a folder of that directory. Cassandra's keyspace is
// "benchmark".
StorePlace placeOf(const QString& word, const QString& directory);

// Takes an option and its number out of a program's words.
std::int64_t takeNumber(QStringList& words, const QString& option, std::int64_t otherwise);

} // namespace recorder::bench
