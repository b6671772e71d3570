// SPDX-License-Identifier: Apache-2.0
#include "commandline.h"
#include "store/cassandra/replication.h"

#include <QTest>

using namespace recorder;

class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void longAndShortOptionsMeanTheSame()
    {
        const CommandLine longForm = parseCommandLine({ "qnyRecorder", "--name", "Tape", "--cassandra", "embedded:1",
            "--keyspace", "plant_1", "--verbose", "--timestamped_replay" });
        const CommandLine shortForm
            = parseCommandLine({ "qnyRecorder", "-n", "Tape", "-c", "embedded:1", "-k", "plant_1", "-v", "-5" });
        for (const CommandLine& line : { longForm, shortForm }) {
            QCOMPARE(line.outcome, CommandLine::Outcome::Run);
            QCOMPARE(line.settings.name, "Tape");
            QCOMPARE(line.settings.store, StoreKind::Embedded);
            QCOMPARE(line.settings.keyspace, "plant_1");
            QVERIFY(line.settings.verbose);
            QVERIFY(line.settings.timestampedReplay);
            QVERIFY(!line.settings.replayOverLive);
        }
    }

    void compactShortOptionsAreUnderstood()
    {
        const CommandLine line = parseCommandLine({ "qnyRecorder", "-v5", "-nTape" });
        QCOMPARE(line.outcome, CommandLine::Outcome::Run);
        QVERIFY(line.settings.verbose);
        QVERIFY(line.settings.timestampedReplay);
        QCOMPARE(line.settings.name, "Tape");
    }

    void withoutOptionsThereIsNoDatabaseAndAFolderOfTheRecordersOwn()
    {
        const CommandLine line = parseCommandLine({ "qnyRecorder" });
        QCOMPARE(line.outcome, CommandLine::Outcome::Run);
        QCOMPARE(line.settings.name, "qnyRecorder");
        QCOMPARE(line.settings.store, StoreKind::None);
        QCOMPARE(line.settings.port, quint16(0));
        QVERIFY(line.settings.dataDirectory.endsWith("/qnyRecorder/qnyRecorder"));
    }

    void furtherOptionsArrive()
    {
        const CommandLine line = parseCommandLine({ "qnyRecorder", "--device", "lo", "--port", "5671", "--peers",
            "127.0.0.1:4000", "--data-directory", "/var/records/../records/a", "--replay_over_live" });
        QCOMPARE(line.outcome, CommandLine::Outcome::Run);
        QCOMPARE(line.settings.device, "lo");
        QCOMPARE(line.settings.port, quint16(5671));
        QCOMPARE(line.settings.peers, "127.0.0.1:4000");
        QCOMPARE(line.settings.dataDirectory, "/var/records/a");
        QVERIFY(line.settings.replayOverLive);
    }

    void thePasswordIsOverwrittenInTheProcessesArgumentsAndNothingElseIs_data()
    {
        QTest::addColumn<QStringList>("given");
        QTest::addColumn<QStringList>("left");
        const auto row = [](const char* name, const QStringList& given, const QStringList& left) {
            // The user's name is the same word, and no secret.
            const QStringList user { "-u", "secret" };
            QTest::newRow(name) << user + given << user + left;
        };
        row("long", { "--cassandra_password", "secret" }, { "--cassandra_password", "********" });
        row("with =", { "--cassandra_password=secret", "-v" }, { "--cassandra_password=********", "-v" });
        row("short", { "-a", "secret" }, { "-a", "********" });
        row("attached", { "-asecret" }, { "-a********" });
        row("several", { "-va", "secret" }, { "-va", "********" });
        row("several, attached", { "-vasecret" }, { "-va********" });
        row("short as long", { "--a", "secret" }, { "--a", "********" });
        row("other options", { "-nsecret", "-usecret", "-asecret" }, { "-nsecret", "-usecret", "-a********" });
    }
    void thePasswordIsOverwrittenInTheProcessesArgumentsAndNothingElseIs()
    {
        QFETCH(const QStringList, given);
        QFETCH(const QStringList, left);
        const CommandLine line = parseCommandLine(QStringList { "qnyRecorder" } + given);
        QCOMPARE(line.outcome, CommandLine::Outcome::Run);
        QCOMPARE(line.settings.password, "secret");
        QList<QByteArray> texts { "qnyRecorder" };
        for (const QString& each : given) {
            texts.append(each.toUtf8());
        }
        std::vector<char*> argv;
        for (QByteArray& text : texts) {
            argv.push_back(text.data());
        }
        const QByteArrayList shown = hidePassword(static_cast<int>(argv.size()), argv.data(), line.settings.password);
        QStringList now;
        for (size_t i = 1; i < argv.size(); ++i) {
            now.append(QString::fromUtf8(shown.at(static_cast<qsizetype>(i))));
            // In place there is as much room as the word took.
            QCOMPARE(QString::fromUtf8(argv[i]), QString(now.last()).replace("********", "******"));
        }
        QCOMPARE(now, left);
    }

    void optionsOfCassandraArrive()
    {
        const CommandLine plain = parseCommandLine({ "qnyRecorder" });
        QCOMPARE(plain.settings.replication, "SimpleStrategy:1");
        QCOMPARE(plain.settings.consistency, "LOCAL_QUORUM");
        QVERIFY(!plain.settings.tls);
        const CommandLine line = parseCommandLine({ "qnyRecorder", "--replication",
            "NetworkTopologyStrategy:dc1=3,dc-2=2", "--consistency", "quorum", "--tls-ca", "/ca.pem" });
        QCOMPARE(line.outcome, CommandLine::Outcome::Run);
        QCOMPARE(line.settings.replication, "NetworkTopologyStrategy:dc1=3,dc-2=2");
        QCOMPARE(line.settings.consistency, "QUORUM");
        QVERIFY(line.settings.tls);
        QCOMPARE(line.settings.tlsCaFile, "/ca.pem");
        QVERIFY(parseCommandLine({ "qnyRecorder", "--tls" }).settings.tls);
    }

    void sizesAreNumbersWithOrWithoutALetter_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<quint64>("bytes");
        QTest::newRow("bytes") << "20000000" << quint64(20'000'000);
        QTest::newRow("K") << "16384K" << quint64(16) * 1024 * 1024;
        QTest::newRow("M") << "500M" << quint64(500) * 1024 * 1024;
        QTest::newRow("G, small") << "20g" << quint64(20) * 1024 * 1024 * 1024;
        QTest::newRow("T") << "2T" << quint64(2) * 1024 * 1024 * 1024 * 1024;
    }
    void sizesAreNumbersWithOrWithoutALetter()
    {
        QFETCH(QString, given);
        QFETCH(quint64, bytes);
        const CommandLine line = parseCommandLine({ "qnyRecorder", "--spill-limit", given });
        QCOMPARE(line.outcome, CommandLine::Outcome::Run);
        QCOMPARE(line.settings.spillBytes, bytes);
        QCOMPARE(parseCommandLine({ "qnyRecorder" }).settings.spillBytes, quint64(4) * 1024 * 1024 * 1024);
    }

#ifdef RR_HAS_CASSANDRA
    void aClusterIsANodeOfIt_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<QString>("host");
        QTest::newRow("name") << "db:9042" << "db";
        QTest::newRow("IPv4") << "127.0.0.1:9042" << "127.0.0.1";
        QTest::newRow("IPv6") << "::1:9042" << "::1";
    }
    void aClusterIsANodeOfIt()
    {
        QFETCH(QString, given);
        QFETCH(QString, host);
        const CommandLine line = parseCommandLine({ "qnyRecorder", "--cassandra", given });
        QCOMPARE(line.outcome, CommandLine::Outcome::Run);
        QCOMPARE(line.settings.store, StoreKind::Cassandra);
        QCOMPARE(line.settings.databaseHost, host);
        QCOMPARE(line.settings.databasePort, quint16(9042));
    }
#endif

    void replicationBecomesTheMapThatTheDatabaseWants()
    {
        QVERIFY(
            cassandra::replicationMap("SimpleStrategy:3") == "{'class': 'SimpleStrategy', 'replication_factor': 3}");
        QVERIFY(cassandra::replicationMap("NetworkTopologyStrategy:dc1=3,east=2")
            == "{'class': 'NetworkTopologyStrategy', 'dc1': 3, 'east': 2}");
    }

    void aBadCommandLineIsRefusedInOneLineThatNamesTheCulprit_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("mentions");
        QTest::newRow("unknown option") << QStringList { "--nonsense" } << "nonsense";
        QTest::newRow("missing value") << QStringList { "--name" } << "name";
        QTest::newRow("bad name") << QStringList { "--name", "a/b" } << "a/b";
        QTest::newRow("empty name") << QStringList { "--name", "" } << "--name";
        QTest::newRow("name with #") << QStringList { "--name", "a#b" } << "a#b";
        QTest::newRow("positional") << QStringList { "stray" } << "stray";
        QTest::newRow("database without port") << QStringList { "--cassandra", "embedded" } << "HOST:PORT";
        QTest::newRow("database without host") << QStringList { "--cassandra", ":9042" } << "HOST:PORT";
        QTest::newRow("database port 0") << QStringList { "--cassandra", "embedded:0" } << "HOST:PORT";
        QTest::newRow("database port too high") << QStringList { "--cassandra", "embedded:65536" } << "HOST:PORT";
#ifndef RR_HAS_CASSANDRA
        QTest::newRow("Cassandra") << QStringList { "--cassandra", "db:9042" } << "cargo";
        QTest::newRow("Cassandra, IPv6") << QStringList { "--cassandra", "::1:9042" } << "embedded:9042";
#endif
        QTest::newRow("replication of no kind") << QStringList { "--replication", "Simple:1" } << "Simple:1";
        QTest::newRow("no replicas") << QStringList { "--replication", "SimpleStrategy:0" } << "SimpleStrategy:0";
        QTest::newRow("replicas nowhere")
            << QStringList { "--replication", "NetworkTopologyStrategy:3" } << "NetworkTopologyStrategy:3";
        QTest::newRow("replication with a quote")
            << QStringList { "--replication", "NetworkTopologyStrategy:d'=3" } << "--replication";
        QTest::newRow("consistency") << QStringList { "--consistency", "MOST" } << "MOST";
        QTest::newRow("empty CA") << QStringList { "--tls-ca", "" } << "--tls-ca";
        for (const char* size : { "", "G", "-1G", "+1G", "1.5G", "4X", "4GB", "15M", "0", "99999999999999T" }) {
            QTest::addRow("spill limit \"%s\"", size) << QStringList { "--spill-limit",
                size } << QStringLiteral("--spill-limit \"%1\"").arg(QLatin1String(size));
        }
        QTest::newRow("bad keyspace") << QStringList { "--keyspace", "a-b" } << "a-b";
        QTest::newRow("user without password")
            << QStringList { "--cassandra", "embedded:1", "--cassandra_username", "u" } << "go together";
        QTest::newRow("port 0") << QStringList { "--port", "0" } << "--port";
        QTest::newRow("port text") << QStringList { "--port", "+5" } << "--port";
        QTest::newRow("empty directory") << QStringList { "--data-directory", "" } << "--data-directory";
        QTest::newRow("empty certificate") << QStringList { "--qnyCert", "" } << "--qnyCert";
        QTest::newRow("empty certificates") << QStringList { "-2", "" } << "--publicCerts";
        QTest::newRow("empty operators") << QStringList { "--operators", "" } << "--operators";
    }
    void aBadCommandLineIsRefusedInOneLineThatNamesTheCulprit()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, mentions);
        const CommandLine line = parseCommandLine(QStringList { "qnyRecorder" } + arguments);
        QCOMPARE(line.outcome, CommandLine::Outcome::Refuse);
        QVERIFY2(line.text.contains(mentions), qPrintable(line.text));
        QVERIFY(!line.text.contains('\n'));
    }

    void helpAndVersionArePrinted()
    {
        const CommandLine help = parseCommandLine({ "qnyRecorder", "--help" });
        QCOMPARE(help.outcome, CommandLine::Outcome::Print);
        QVERIFY(help.text.startsWith("Usage: qnyRecorder [options]\n"));
        for (const char* option : { "--device", "--port", "--peers", "--data-directory", "--version",
                 "--replay_over_live", "--cassandra_password", "--timestamped_replay", "--replication", "--consistency",
                 "--tls", "--tls-ca", "--spill-limit", "--qnyCert", "--publicCerts", "--operators" }) {
            QVERIFY2(help.text.contains(QLatin1String(option)), option);
        }
        const CommandLine version = parseCommandLine({ "qnyRecorder", "--version" });
        QCOMPARE(version.outcome, CommandLine::Outcome::Print);
        QVERIFY(version.text.startsWith("qnyRecorder "));
    }

    void everyNameGivesAFolderOfItsOwnBelowTheBase()
    {
        const QString base = defaultDataDirectory("x").chopped(1);
        QSet<QString> folders;
        const QStringList names { "a", "A", "..", ".", "a:b", "a%3Ab", "Größe", "a b", ".hidden" };
        for (const QString& name : names) {
            const QString folder = defaultDataDirectory(name);
            QVERIFY2(folder.startsWith(base), qPrintable(folder));
            const QString last = folder.mid(base.size());
            QVERIFY2(!last.contains('/') && !last.startsWith('.') && !last.isEmpty(), qPrintable(last));
            folders.insert(folder);
        }
        QCOMPARE(folders.size(), names.size());
    }
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "tst_command_line.moc"
