// SPDX-License-Identifier: Apache-2.0
#include "../smalldisk.h"
#include "fulldisk.h"
#include "storesuite.h"

#include <QDeadlineTimer>
#include <QThread>

namespace recorder::testing {

void StoreSuite::checkFullDisk(const std::function<std::unique_ptr<Store>(const std::string& directory)>& open)
{
    const std::string disk = (m_under.place() + "/disk").toStdString();
    QVERIFY(QDir().mkpath(QString::fromStdString(disk)));
    const SmallDisk small(disk, "size=12m");
    if (!small.isMounted()) {
        QSKIP("A full disk needs a small tmpfs, which only root may mount.");
    }

    const RecordFacts facts = newFacts("too long");
    UntilFull until;
    {
        const auto store = open(disk);
        std::unique_ptr<RecordWriter> writer;
        RR_DONE(store->create(facts, writer));
        StoreResult result;
        until = recordUntilFull(*writer, result);
        QVERIFY2(result.error == StoreError::Full, result.message.c_str());
        QVERIFY(until.certain > 1'000);
        RR_DONE(writer->close(0)); // the reserve is for this
        const Completeness completeness = writer->completeness();
        QCOMPARE(completeness.stored() + completeness.lost(), static_cast<std::uint64_t>(until.appended));
        QVERIFY(completeness.stored() >= static_cast<std::uint64_t>(until.certain));
        // The disk stays full: it can be read, and a new recording says why it does not start.
        QCOMPARE(eventsOf(*read(*store, facts.uuid)).size(), completeness.stored());
        StoreResult refused = StoreResult::done();
        for (int attempt = 0; attempt < 50 && refused; ++attempt) {
            std::unique_ptr<RecordWriter> next;
            refused = store->create(newFacts("next"), next);
            if (refused) {
                for (int i = 0; i < 200 && refused; ++i) {
                    refused = next->append(numberedText(i, 100'000).view());
                }
            }
        }
        QVERIFY(refused.error == StoreError::Full);
        QVERIFY2(refused.message.find("full") != std::string::npos, refused.message.c_str());
    }
    const auto store = open(disk);
    const std::vector<Event> events = eventsOf(*read(*store, facts.uuid));
    QVERIFY(static_cast<int>(events.size()) >= until.certain);
    for (std::size_t i = 0; i < events.size(); ++i) {
        QVERIFY(events[i] == numberedText(static_cast<int>(i), 1'000));
    }
    // Deleting makes room for the next recording: of all, as the refused ones may hold the most.
    std::vector<RecordSummary> held;
    RR_DONE(store->records({}, held));
    for (const RecordSummary& one : held) {
        RR_DONE(store->remove(one.uuid));
    }
    const QDeadlineTimer deadline(20'000);
    bool isRecorded = false;
    while (!isRecorded && !deadline.hasExpired()) {
        std::unique_ptr<RecordWriter> writer;
        isRecorded
            = store->create(newFacts("after"), writer) && writer->append(numberedText(1).view()) && writer->close(0);
        QThread::msleep(50);
    }
    QVERIFY(isRecorded);
}

} // namespace recorder::testing
