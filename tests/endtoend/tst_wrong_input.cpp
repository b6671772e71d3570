// SPDX-License-Identifier: Apache-2.0
#include "processes.h"
#include "recorderprogram.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QTemporaryDir>
#include <QtNetwork/QUdpSocket>
#include <QtTest/QTest>

// What each program says to input that cannot be right. All must end by themselves with a status that is not 0 and one
// sentence that names what was wrong.
class TestWrongInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(_folder.isValid());
        QVERIFY(QDir(_folder.path()).mkpath("no-plugins"));
        _write("broken.json", "{ \"views\": [");
        _write("list.json", "[1, 2, 3]");
        _write("file", "a file where a folder should be");
        // Bound alone, so that nobody may share it.
        QVERIFY(_taken.bind(QHostAddress::AnyIPv4, 0, QAbstractSocket::DontShareAddress));
    }

    void aProgramRefusesWithAMessage_data()
    {
        QTest::addColumn<QString>("program");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message"); // a regular expression
        const QString host = QStringLiteral(RR_HOST);
        const QString recorder = QStringLiteral(RR_RECORDER);
        const QString pump = QStringLiteral(RR_SAMPLE_PUMP);
        const QString port = QString::number(_taken.localPort());
        const QString freePort = QString::number(randomPort());
        const QString drawn = _folder.filePath("drawn.png"); // so that a host that goes on ends nevertheless
        const QStringList store { "--cassandra", "embedded:9042", "--data-directory", _folder.filePath("store") };

        for (const QString& program : { host, recorder, pump }) {
            const QByteArray name = QFileInfo(program).fileName().toLocal8Bit();
            QTest::addRow("%s, unknown option", name.constData())
                << program << QStringList("--colour") << "colour.*--help";
            QTest::addRow("%s, port that is none", name.constData())
                << program << QStringList({ "--port", "many" }) << "many";
        }
        QTest::newRow("host, port in use")
            << host << QStringList({ "--device", "lo", "--port", port, "--screenshot", drawn }) << port;
        QTest::newRow("recorder, port in use")
            << recorder << QStringList({ "--device", "lo", "--port", port }) + store << port;
        QTest::newRow("sample, port in use") << pump << QStringList({ "--device", "lo", "--port", port }) << port;
        QTest::newRow("host, unknown device")
            << host << QStringList({ "--device", "moon0", "--port", freePort, "--screenshot", drawn }) << "moon0";
        QTest::newRow("recorder, unknown device")
            << recorder << QStringList({ "--device", "moon0", "--port", freePort }) + store << "moon0";
        QTest::newRow("sample, unknown device")
            << pump << QStringList({ "--device", "moon0", "--port", freePort }) << "moon0";
        QTest::newRow("host, no plugin") << host
                                         << QStringList({ "--device", "lo", "--port", freePort, "--plugins",
                                                _folder.filePath("no-plugins"), "--screenshot", drawn })
                                         << "no-plugins";
        QTest::newRow("host, folder of plugins that is not there")
            << host
            << QStringList({ "--device", "lo", "--port", freePort, "--plugins", _folder.filePath("nowhere"),
                   "--screenshot", drawn })
            << "nowhere";
        QTest::newRow("host, document that is no JSON") << host
                                                        << QStringList({ _folder.filePath("broken.json"), "--device",
                                                               "lo", "--port", freePort, "--screenshot", drawn })
                                                        << "broken\\.json";
        QTest::newRow("host, JSON that is no document") << host
                                                        << QStringList({ _folder.filePath("list.json"), "--device",
                                                               "lo", "--port", freePort, "--screenshot", drawn })
                                                        << "list\\.json";
        QTest::newRow("host, document that is not there") << host
                                                          << QStringList({ _folder.filePath("absent.json"), "--device",
                                                                 "lo", "--port", freePort, "--screenshot", drawn })
                                                          << "absent\\.json";
        QTest::newRow("host, screenshot that cannot be written")
            << host
            << QStringList({ "--device", "lo", "--port", freePort, "--screenshot", _folder.filePath("file/drawn.png") })
            << "drawn\\.png";
        QTest::newRow("host, tour into a file") << host
                                                << QStringList({ "--tour", "--device", "lo", "--port", freePort,
                                                       "--output", _folder.filePath("file/tour") })
                                                << "tour.*--output";
        QTest::newRow("recorder, data directory that cannot be written")
            << recorder
            << QStringList({ "--device", "lo", "--port", freePort, "--cassandra", "embedded:9042", "--data-directory",
                   _folder.filePath("file/store") })
            << "file/store";
        QTest::newRow("recorder, database without port")
            << recorder << QStringList({ "--cassandra", "embedded" }) << "embedded.*HOST:PORT";
        QTest::newRow("sample, journal that cannot be written")
            << pump
            << QStringList({ "--device", "lo", "--port", freePort, "--journal", _folder.filePath("file/pump.journal") })
            << "pump\\.journal";
    }

    void aProgramRefusesWithAMessage()
    {
        QFETCH(QString, program);
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        const Ending ending = runToEnd(program, arguments, _folder.path());
        QVERIFY2(ending.hasEnded, qPrintable("still running; it said: " + ending.standardError));
        QVERIFY2(ending.status > 0,
            qPrintable(QString("status %1; it said: %2").arg(ending.status).arg(ending.standardError)));
        const QRegularExpression expected(message, QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(expected.match(ending.standardError).hasMatch(), qPrintable(ending.standardError));
    }

    void aFileThatIsNoRecordIsNotLoaded_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("reason"); // a regular expression
        QTest::newRow("prose") << QByteArray("This is a letter.\nIt has two lines.\n") << "line 1";
        QTest::newRow("few columns") << QByteArray(";0;record;version;integer;1\nPump;1;output\n") << "line 2";
        QTest::newRow("unknown kind") << QByteArray(";0;record;version;integer;1\nPump;1;colour;p;double;1\n")
                                      << "line 2.*colour";
        QTest::newRow("value of another type")
            << QByteArray(";0;record;version;integer;1\nPump;1;output;p;double;high\n") << "line 2.*high";
        QTest::newRow("open quote") << QByteArray(";0;record;version;integer;1\nPump;1;output;p;string;\"high\n")
                                    << "line 2";
    }

    void aFileThatIsNoRecordIsNotLoaded()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, reason);
        const QString path = _write("letter.csv", content);
        const auto reply = _loadFile(path);
        QVERIFY(reply);
        QCOMPARE(reply->service, "loading_failed");
        QCOMPARE(reply->arguments.at(0).toString(), path);
        const QRegularExpression expected(reason, QRegularExpression::DotMatchesEverythingOption);
        QVERIFY2(expected.match(reply->arguments.at(1).toString()).hasMatch(),
            qPrintable(reply->arguments.at(1).toString()));
    }

    void aFileThatIsNotThereIsNotLoaded()
    {
        const auto reply = _loadFile(_folder.filePath("absent.csv"));
        QVERIFY(reply);
        QCOMPARE(reply->service, "loading_failed");
        QVERIFY2(
            reply->arguments.at(1).toString().contains("absent.csv"), qPrintable(reply->arguments.at(1).toString()));
    }

private:
    QString _write(const QString& name, const QByteArray& content)
    {
        QFile file(_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            qFatal("%s", qPrintable(file.errorString()));
        }
        return file.fileName();
    }

    // One recorder and one place on the network for all rows.
    std::optional<RecorderReply> _loadFile(const QString& path)
    {
        if (!_recorder) {
            const quint16 port = randomPort();
            QString error;
            _client = std::make_unique<RecorderClient>();
            _recorder = std::make_unique<RecorderProgram>(port, "Reader", _folder.path());
            if (!_client->start(port, &error) || !_recorder->start()) {
                qWarning("no recorder: %s", qPrintable(error));
                return std::nullopt;
            }
        }
        if (!_client->call("Reader", "load_file", { path }, "client")) {
            return std::nullopt;
        }
        return _client->take({ "loaded", "loading_failed" });
    }

    QTemporaryDir _folder;
    QUdpSocket _taken;
    std::unique_ptr<RecorderClient> _client;
    std::unique_ptr<RecorderProgram> _recorder; // ends before the client leaves the network
};

QTEST_GUILESS_MAIN(TestWrongInput)
#include "tst_wrong_input.moc"
