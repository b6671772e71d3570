// SPDX-License-Identifier: Apache-2.0
#include "storechoice.h"

#include "store/csvfile/csvfilestore.h"
#include "store/embedded/embeddedstore.h"
#ifdef RR_HAS_CASSANDRA
#include "store/cassandra/cassandrastore.h"
#endif

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

std::unique_ptr<Store> openCassandra([[maybe_unused]] const Settings& settings, [[maybe_unused]] StoreResult& result)
{
#ifdef RR_HAS_CASSANDRA
    CassandraOptions options;
    options.host = settings.databaseHost.toStdString();
    options.port = settings.databasePort;
    options.user = settings.username.toStdString();
    options.password = settings.password.toStdString();
    if (!settings.keyspace.isEmpty()) {
        options.keyspace = settings.keyspace.toStdString();
    }
    options.replication = settings.replication.toStdString();
    options.consistency = settings.consistency.toStdString();
    options.tls = settings.tls;
    options.tlsCaFile = settings.tlsCaFile.toStdString();
    // What waits for one database is never brought into another.
    const QString journals = QStringLiteral("journals-%1-%2-%3")
                                 .arg(settings.databaseHost, QString::number(settings.databasePort),
                                     QString::fromStdString(options.keyspace));
    options.journals = QDir(settings.dataDirectory).filePath(journals).toStdString();
    options.onMessage = logMessage;
    return openCassandraStore(options, result);
#else
    return nullptr; // the command line was refused
#endif
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
    case StoreKind::Embedded:
        store = openEmbedded(settings, result);
        break;
    case StoreKind::Cassandra:
        store = openCassandra(settings, result);
        break;
    }
    if (!store) {
        problem = QString::fromStdString(result.message);
    }
    return store;
}

} // namespace recorder
