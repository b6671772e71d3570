// SPDX-License-Identifier: Apache-2.0
// A recorder records while strangers do to it and to whom it records what they can. QNY_ATTACK_SECONDS=60 in the
// environment: how long each attack goes on.
#include "attackers.h"
#include "scriptedhost.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace recorder;
using namespace recorder::testing;

namespace {

/// Beyond what the recorder has when nobody attacks it: 256 strangers, and the addresses that are tried at a time.
constexpr int MOST_DESCRIPTORS = 700;
constexpr int MOST_MEBIBYTES = 128;
/// Under each attack a true peer is found, though not at once.
constexpr int FOUND_MS = 30'000;

int attackSeconds()
{
    return qEnvironmentVariableIntValue("QNY_ATTACK_SECONDS");
}

/// What a process has of the system now.
struct Figures
{
    int descriptors = 0;
    int mebibytes = 0;
};

Figures figuresOf(qint64 process)
{
    const QString folder = "/proc/" + QString::number(process);
    Figures figures { static_cast<int>(QDir(folder + "/fd").entryList(QDir::AllEntries | QDir::System).size()), 0 };
    QFile status(folder + "/status");
    if (status.open(QIODevice::ReadOnly)) {
        const QByteArray text = status.readAll();
        const qsizetype at = text.indexOf("VmRSS:");
        figures.mebibytes = text.mid(at + 6, text.indexOf("kB", at) - at - 6).trimmed().toInt() / 1024;
    }
    return figures;
}

/// The numbers that an output of an agent published, in the record's order.
QList<int> numbersOf(const QByteArray& record, const QByteArray& agent, const QByteArray& output)
{
    QList<int> numbers;
    for (const QByteArray& row : record.split('\n')) {
        const QList<QByteArray> fields = row.split(';');
        if (fields.size() == 6 && fields[0] == agent && fields[2] == "output" && fields[3] == output) {
            numbers.append(fields[5].toInt());
        }
    }
    return numbers;
}

} // namespace

class RecorderStrangersTest : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<QTemporaryDir> _directory;
    std::unique_ptr<ScriptedHost> _host;
    std::unique_ptr<RecorderProcess> _recorder;
    std::unique_ptr<PlantAgent> _pump;
    int _published = 0;

    QString path(const QString& name) const { return _directory->filePath(name); }

    void secure()
    {
        for (const char* each : { "own", "known" }) {
            QVERIFY(QDir(_directory->path()).mkdir(each));
        }
        QVERIFY2(qny_certificate_make(path("own").toUtf8().constData(), "plant", nullptr, nullptr) == QNY_SUCCESS,
            qny_last_error());
        QVERIFY(QFile::copy(path("own/plant.cert"), path("known/plant.cert")));
        qputenv("QNY_PRIVATE_CERTIFICATE", path("own/plant.cert_secret").toUtf8());
        qputenv("QNY_PUBLIC_CERTIFICATES", path("known").toUtf8());
    }

    void begin(bool isSecured)
    {
        if (isSecured) {
            secure();
        }
        QVERIFY2(TestNetwork::join(), qny_last_error());
        QCOMPARE(qny_is_secured(), isSecured);
        _host = std::make_unique<ScriptedHost>(qny_default_agent());
        _recorder = std::make_unique<RecorderProcess>("Tape");
        QVERIFY(_recorder->start(storedIn("store")));
    }
    /// Not verbose: what it says is read now and then only, and a full pipe would hold it up.
    QStringList storedIn(const QString& folder) const
    {
        return { "-c", "embedded:9042", "--data-directory", path(folder) };
    }

    Target target() const
    {
        Target found { TestNetwork::port(), {}, {}, "pump" };
        const auto port = [](const char* endpoint) { return QByteArray(endpoint).split(':').constLast().toUShort(); };
        char* mine = qny_endpoint();
        for (const HeardPeer& each : listenForPeers(found.discoveryPort)) {
            (each.port == port(mine) ? found.other : found.attacked) = each;
        }
        qny_free(mine);
        return found;
    }

    /// Publishes a number a millisecond for so long.
    void publish(int ms, Figures& most)
    {
        const int64_t began = monotonicNs();
        for (int i = 0; monotonicNs() - began < int64_t(ms) * 1'000'000; ++i) {
            _pump->publish("count", int32_t(++_published));
            if (i % 50 == 0) {
                const Figures now = figuresOf(_recorder->processId());
                most.descriptors = std::max(most.descriptors, now.descriptors);
                most.mebibytes = std::max(most.mebibytes, now.mebibytes);
                _recorder->log(); // so that there is room for what it says of so many strangers
            }
            QTest::qSleep(1);
        }
    }

    static uint64_t sent()
    {
        qny_statistics_t statistics;
        qny_statistics(&statistics);
        return statistics.publications_sent;
    }

    bool answers() const { return _host->call(_recorder->name(), "get_context") && _host->reply("context"); }

public:
    /// Qt ends a test function that takes longer than five minutes, unless it is told before there is an application.
    static void initMain()
    {
        if (attackSeconds() > 0) {
            const qint64 attacks = static_cast<qint64>(allAttacks().size()) * (attackSeconds() + 30);
            qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number((300 + attacks) * 1000));
        }
    }

private slots:
    void cleanup()
    {
        if (_recorder && QTest::currentTestFailed()) {
            qInfo().noquote() << _recorder->log().right(6000);
        }
        _pump.reset();
        if (_recorder && _recorder->isRunning()) {
            _recorder->terminate();
        }
        _recorder.reset();
        _host.reset();
        TestNetwork::leave();
        qunsetenv("QNY_PRIVATE_CERTIFICATE");
        qunsetenv("QNY_PUBLIC_CERTIFICATES");
    }
    void init()
    {
        _directory = std::make_unique<QTemporaryDir>();
        QVERIFY(_directory->isValid());
        _published = 0;
    }

    void aRecordingLosesNothingWhateverStrangersDo_data()
    {
        QTest::addColumn<bool>("isSecured");
        QTest::newRow("open network") << false;
        QTest::newRow("secured network") << true;
    }
    void aRecordingLosesNothingWhateverStrangersDo()
    {
        QFETCH(bool, isSecured);
        const int ms = attackSeconds() > 0 ? attackSeconds() * 1000 : isSecured ? 400 : 700;
        begin(isSecured);
        if (QTest::currentTestFailed()) {
            return;
        }
        const Target target = this->target();
        QVERIFY(target.attacked.port != 0 && target.other.port != 0);
        QCOMPARE(target.attacked.isSecured, isSecured);
        _pump = std::make_unique<PlantAgent>("pump");
        _host->call(
            "Tape", "record", { QByteArray("attacked"), QByteArray(""), QByteArray("") }, QByteArray("id##record"));
        const auto started = _host->reply("record_uuid", "id##record");
        QVERIFY(started);
        // What is published before the recorder has met the agent is no part of the record.
        QVERIFY(waitUntil([&] {
            const uint64_t before = sent();
            _pump->publish("count", int32_t(0));
            return sent() > before;
        }));
        Figures calm;
        publish(100, calm);

        QList<std::pair<int, const char*>> begins;
        for (const NamedAttack& each : allAttacks()) {
            begins.append({ _published, each.name });
            Figures most;
            {
                const auto attack = each.begin(target);
                publish(ms, most);
                QVERIFY2(waitUntil([&] { return attack->done() > 0; }, 20'000), each.name);
                QVERIFY2(answers(), each.name);
                qInfo("%-24s %8llu; %4d descriptors (%d), %4d MiB (%d)", each.name,
                    static_cast<unsigned long long>(attack->done()), most.descriptors, calm.descriptors, most.mebibytes,
                    calm.mebibytes);
            }
            QVERIFY2(_recorder->isRunning(), each.name);
            QVERIFY2(most.descriptors < calm.descriptors + MOST_DESCRIPTORS, each.name);
            QVERIFY2(most.mebibytes < calm.mebibytes + MOST_MEBIBYTES, each.name);
        }
        _host->call("Tape", "stop_recording");
        QVERIFY(_host->reply("recording_stopped"));

        const QByteArray record = _host->exported("Tape", started->text(0));
        QList<int> numbers = numbersOf(record, "pump", "count");
        numbers.removeAll(0);
        int expected = 0;
        for (const int number : numbers) {
            if (number != ++expected) {
                break;
            }
        }
        QByteArray during = "the end";
        for (const auto& [first, name] : begins) {
            during = expected > first ? name : during;
        }
        const QByteArray where
            = "at " + QByteArray::number(expected) + " of " + QByteArray::number(_published) + ", during: " + during;
        QVERIFY2(expected == _published && numbers.size() == _published, where.constData());
    }

    void aTruePeerIsFoundWhileStrangersSendBeacons_data()
    {
        QTest::addColumn<QString>("attack");
        QTest::newRow("of nobody") << "beacons of nobody";
        QTest::newRow("in others' names") << "beacons in others' names";
    }
    void aTruePeerIsFoundWhileStrangersSendBeacons()
    {
        QFETCH(QString, attack);
        begin(false);
        if (QTest::currentTestFailed()) {
            return;
        }
        const auto& all = allAttacks();
        const auto flood
            = std::ranges::find_if(all, [&](const NamedAttack& each) { return attack == each.name; })->begin(target());
        QVERIFY(waitUntil([&] { return flood->done() > 1000; }));
        RecorderProcess late("Late tape");
        const int64_t began = monotonicNs();
        QVERIFY(late.start(storedIn("late")) || waitUntil([] { return qny_agent_is_present("Late tape"); }, FOUND_MS));
        qInfo("found after %lld ms", static_cast<long long>((monotonicNs() - began) / 1'000'000));
        QCOMPARE(late.terminate(), 0);
    }
};

QTEST_GUILESS_MAIN(RecorderStrangersTest)
#include "tst_recorder_strangers.moc"
