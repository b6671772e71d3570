// SPDX-License-Identifier: Apache-2.0
#include "../smalldisk.h"
#include "../store/csvfilesundertest.h"
#include "../store/embeddedundertest.h"
#include "lossrounds.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

using namespace recorder;
using namespace recorder::testing;

namespace {

// The stores on the recorder's own machine, one at a time: a place begins with the word of its store.
class LocalStores : public StoreUnderTest
{
public:
    static QStringList words() { return { QStringLiteral("embedded"), QStringLiteral("csv") }; }

    void choose(const QString& word)
    {
        m_word = word;
        m_chosen = word == QLatin1String("csv") ? static_cast<StoreUnderTest*>(&m_csvFiles) : &m_embedded;
    }
    void makeEmpty() override { m_chosen->makeEmpty(); }
    std::unique_ptr<Store> open(StoreResult& result, Store::MessageHandler onMessage = nullptr) override
    {
        return m_chosen->open(result, std::move(onMessage));
    }
    QString place() const override { return m_word + QLatin1Char(':') + m_chosen->place(); }
    void usePlace(const QString& place) override
    {
        choose(place.section(QLatin1Char(':'), 0, 0));
        m_chosen->usePlace(place.section(QLatin1Char(':'), 1));
    }
    bool holdsAnythingOf(const std::string& uuid) override { return m_chosen->holdsAnythingOf(uuid); }
    std::string directory() const { return m_chosen->place().toStdString(); }

private:
    EmbeddedUnderTest m_embedded;
    CsvFilesUnderTest m_csvFiles;
    StoreUnderTest* m_chosen = &m_embedded;
    QString m_word;
};

} // namespace

// What happens to a recorder whose records are on its own machine, and what becomes of every event then.
class TestLosses : public LossRounds
{
    Q_OBJECT

public:
    explicit TestLosses(LocalStores& stores)
        : LossRounds(stores)
        , m_stores(stores)
    {
    }

private slots:
    void init();
    void cleanup() { tellWhatWasSaid(); }

    void aRecorderIsKilledWhileItRecords_data() { addRounds(LocalStores::words()); }
    void aRecorderIsKilledWhileItRecords() { killWhileItRecords(); }
    void aRecorderIsKilledWhileItImports_data() { addRounds(LocalStores::words()); }
    void aRecorderIsKilledWhileItImports() { killWhileItImports(); }
    void aRecorderIsKilledWhileItDeletes_data() { addRounds(LocalStores::words()); }
    void aRecorderIsKilledWhileItDeletes() { killWhileItDeletes(); }
    void theDiskBecomesFull_data() { addRounds(LocalStores::words()); }
    void theDiskBecomesFull();

private:
    LocalStores& m_stores;
};

void TestLosses::init()
{
    QFETCH(QString, store);
    m_stores.choose(store);
    m_stores.makeEmpty();
    beginRound();
}

void TestLosses::theDiskBecomesFull()
{
    const std::string size = "size=" + std::to_string(between(3'000, 8'000)) + 'k';
    const SmallDisk disk(m_stores.directory(), size.c_str());
    if (!disk.isMounted()) {
        QSKIP("A full disk needs a small tmpfs, which only root may mount.");
    }
    const auto valueBytes = static_cast<std::size_t>(between(200, 5'000));
    Account account;
    std::uint64_t counted = 0;
    {
        const auto store = openStore();
        QVERIFY(store);
        const auto producer = produce(*store, valueBytes);
        QVERIFY(producer);
        const QDeadlineTimer deadline(60'000);
        while (!producer->hasEnded() && !deadline.hasExpired()) {
            pause(5, 5);
        }
        account.produced = producer->finish();
        QVERIFY2(!producer->fullness(), "the disk never became full");
        const std::string& told = producer->fullness().message;
        QVERIFY2(told.find("is full") != std::string::npos && told.find("ake room") != std::string::npos, told.c_str());
        const Completeness& completeness = producer->completeness();
        QCOMPARE(completeness.lost() > 0, !completeness.remarks.empty());
        counted = completeness.stored();
    }
    // Another recorder finds the same, on the disk that is as full as before.
    const auto store = openStore();
    QVERIFY(store);
    RR_CHECKED(check(*store, m_uuid, account, valueBytes));
    QCOMPARE(static_cast<std::uint64_t>(account.stored), counted);
    QVERIFY(account.stored > 0);
    std::vector<RecordSummary> list;
    RR_DONE(store->records({}, list));
    QVERIFY(list.size() == 1 && !list[0].isOpen);
    conclude(account);
    RR_DONE(store->remove(m_uuid)); // which makes room
}

int main(int argc, char** argv)
{
    LocalStores stores;
    if (const int status = childMain(argc, argv, stores); status >= 0) {
        return status;
    }
    QCoreApplication application(argc, argv);
    TestLosses test(stores);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_losses.moc"
