// SPDX-License-Identifier: Apache-2.0
#include "storeplaces.h"

#include "storechoice.h"
#include "storeload.h"

#include <QDir>

#include <algorithm>
#include <chrono>
#include <thread>

namespace recorder::bench {

std::unique_ptr<Store> StorePlace::open() const
{
    QString problem;
    std::unique_ptr<Store> store = openStore(settings, problem);
    must(store != nullptr, problem.toStdString());
    return store;
}

bool StorePlace::hasJournals() const
{
    const QDir data(settings.dataDirectory);
    for (const QString& folder : data.entryList({ QStringLiteral("journals-*") }, QDir::Dirs)) {
        if (!QDir(data.filePath(folder)).isEmpty(QDir::Files)) {
            return true;
        }
    }
    return false;
}

double StorePlace::waitUntilDrained() const
{
    constexpr double patience = 600;
    const double began = seconds();
    while (hasJournals()) {
        must(seconds() - began < patience, "what is in the journals does not come into the database");
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return seconds() - began;
}

StorePlace placeOf(const QString& word, const QString& directory)
{
    StorePlace place;
    const bool isCassandra = word.contains(u':');
    place.name = isCassandra ? QStringLiteral("cassandra") : word;
    if (isCassandra) {
        place.options = { "--cassandra", word, "--keyspace", "benchmark" };
    } else if (word == QLatin1String("embedded")) {
        place.options = { "--cassandra", "embedded:9042" };
    } else {
        must(word == QLatin1String("csv"), "a store is \"embedded\", \"csv\" or HOST:PORT of Cassandra");
    }
    place.options << "--data-directory" << QDir(directory).filePath(place.name);
    const CommandLine line
        = parseCommandLine(QStringList { "qnyRecorder", "--name", "Bench recorder" } + place.options);
    must(line.outcome == CommandLine::Outcome::Run, line.text.toStdString());
    place.settings = line.settings;
    return place;
}

std::int64_t takeNumber(QStringList& words, const QString& option, std::int64_t otherwise)
{
    const qsizetype at = words.indexOf(option);
    if (at < 0) {
        return otherwise;
    }
    const std::int64_t number = words.value(at + 1).toLongLong();
    words.remove(at, std::min<qsizetype>(2, words.size() - at));
    return number;
}

} // namespace recorder::bench
