// SPDX-License-Identifier: Apache-2.0
#include "storechoice.h"

#include "store/csvfile/csvfilestore.h"
#include "store/embedded/embeddedstore.h"

#include <QDebug>
#include <QDir>

namespace recorder {

namespace {

void logMessage(const std::string& message)
{
    qWarning().noquote() << QString::fromStdString(message);
}

std::unique_ptr<Store> openCsvFiles(const Settings& settings, StoreResult& result)
{
    CsvFileOptions options;
    options.directory = settings.dataDirectory.toStdString();
    options.onMessage = logMessage;
    return openCsvFileStore(options, result);
}

std::unique_ptr<Store> openEmbedded(const Settings& settings, StoreResult& result)
{
    // Each keyspace of the built-in database is a database of its own.
    const QString directory = settings.keyspace.isEmpty() ? settings.dataDirectory
                                                          : QDir(settings.dataDirectory).filePath(settings.keyspace);
    EmbeddedOptions options;
    options.directory = directory.toStdString();
    options.onMessage = logMessage;
    return openEmbeddedStore(options, result);
}

} // namespace

std::unique_ptr<Store> openStore(const Settings& settings, QString& problem)
{
    StoreResult result;
    std::unique_ptr<Store> store;
    switch (settings.store) {
    case StoreKind::None:
        store = openCsvFiles(settings, result);
        break;
    case StoreKind::Cassandra: // refused with the command line
        return nullptr;
    case StoreKind::Embedded:
        store = openEmbedded(settings, result);
        break;
    }
    if (!store) {
        problem = QString::fromStdString(result.message);
    }
    return store;
}

} // namespace recorder
