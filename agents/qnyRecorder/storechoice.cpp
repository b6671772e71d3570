// SPDX-License-Identifier: Apache-2.0
#include "storechoice.h"

#include "store/csvfile/csvfilestore.h"
#include "store/embedded/embeddedstore.h"
#ifdef RR_HAS_CASSANDRA
#include "store/cassandra/cassandrastore.h"
#endif

#include <QDebug>
#include <QDir>
#include <QUrl>

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

#ifdef RR_HAS_CASSANDRA
// The folder of what waits for one database, which is never brought into another. Names those where something waits for
// others: nobody else would.
QString journalsOf(const QDir& dataDirectory, const QString& database)
{
    const QString own = QStringLiteral("journals-") + QString::fromLatin1(QUrl::toPercentEncoding(database, ":"));
    for (const QString& folder : dataDirectory.entryList({ QStringLiteral("journals-*") }, QDir::Dirs)) {
        if (folder != own && !QDir(dataDirectory.filePath(folder)).isEmpty(QDir::Files)) {
            qWarning().noquote() << "Records wait in" << dataDirectory.filePath(folder)
                                 << "for another database: start a recorder with that one, and they are stored";
        }
    }
    return dataDirectory.filePath(own);
}
#endif

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
    const QString database = QStringLiteral("%1:%2-%3")
                                 .arg(settings.databaseHost, QString::number(settings.databasePort),
                                     QString::fromStdString(options.keyspace));
    options.journals = journalsOf(QDir(settings.dataDirectory), database).toStdString();
    options.journalBytes = settings.spillBytes;
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
