// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recordtools.h"

#include <QObject>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace recorder::testing {

// A store as the suite meets it.
class StoreUnderTest
{
public:
    virtual ~StoreUnderTest() = default;
    // A place with nothing in it, for the next test function.
    virtual void makeEmpty() = 0;
    // Another store object on that place, as another recorder would have. Null with the reason.
    virtual std::unique_ptr<Store> open(StoreResult& result, Store::MessageHandler onMessage = nullptr) = 0;
    // The place as text, from which a child process makes the same (see childMain).
    virtual QString place() const = 0;
    virtual void usePlace(const QString& place) = 0;
    // Behind the store's back: whether the place still has any event of a record.
    virtual bool holdsAnythingOf(const std::string& uuid) = 0;
};

// What a test program does when it was started as a child: it records, or holds a record, until it is killed or its
// standard input ends. Returns -1 when the arguments are not a child's.
int childMain(int argc, char** argv, StoreUnderTest& store);

// The behaviour of every store. A store's own test inherits it and adds what is special to that store.
class StoreSuite : public QObject
{
    Q_OBJECT

public:
    explicit StoreSuite(StoreUnderTest& store)
        : m_under(store)
    {
    }

private slots:
    void init();
    void cleanup();

    // ---- records and their facts (storesuite_records.cpp)
    void anEmptyStoreListsNothing();
    void aNewRecordIsListedWhileItIsRecorded();
    void factsComeBackAsGiven();
    void theListIsInTheOrderOfStartsAndCanBeSearched();
    void theListAsJsonHasTheModulesKeys();
    void renamingChangesTheNameAlone();
    void deletingTakesTheRecordAway();
    void aRecordInUseIsNotDeleted();
    void whatIsNotThereIsSaidSo();
    void theListsRevisionGrowsWithEveryChange();
    void aWriterThatEndsClosesItsRecord();
    void aSecondRecorderListsButDoesNotTouch();

    // ---- events and states (storesuite_events.cpp)
    void everyValueComesBack();
    void eventsComeBackInOrder_data();
    void eventsComeBackInOrder();
    void eventsOutOfOrderAreReadInOrder();
    void windowsHoldBothEnds();
    void readingGoesOnAfterAnyPosition();
    void theStateIsThatOfEveryMoment();
    void initialValuesAreTheStateBeforeTheFirstEvent();
    void theLastOfTwoInitialValuesHolds();
    void eventsAreStoredWithinTheAge();
    void aRunningRecordCanBeRead();
    void completenessCountsWhatWasStoredAndLost();
    void emptyRecordsAreRecords();
    void manyOutputsAreKeptApart();

    // ---- export and import (storesuite_exchange.cpp)
    void anExportIsTheDocumentedFile();
    void exportAndImportGiveTheSame_data();
    void exportAndImportGiveTheSame();
    void everyChunkOfAnExportIsWholeRowsWithinBounds();
    void twoExportsAtOnceDoNotDisturbOneAnother();
    void aCursorOfNoExportIsRefused();
    void anImportIsWholeAfterEveryChunk();
    void anImportGoesOnAfterARestart();
    void aBadChunkEndsTheImportAndKeepsWhatWasStored();
    void aBadFirstChunkLeavesNoRecord();
    void recordedRecordsAreNotAppendedTo();
    void aFileReplaysAsItsRecordDoes();

    // ---- ends without warning (storesuite_crash.cpp)
    void killedRecordersEventsAreThere_data();
    void killedRecordersEventsAreThere();
    void aKilledRecordersRecordIsClosedWithItsTrueLength();
    void anotherProcessIsNotDisturbed();
    void twoProcessesRecordAtOnce();

protected:
    std::unique_ptr<Store> openStore();
    static RecordFacts newFacts(const std::string& name, std::int64_t startUs = 1'700'000'000'000'000);
    // Records events and closes; ticks now and then as a recorder does.
    std::string record(Store& store, const std::vector<Event>& events, const std::string& name = "record");
    // For stores on this machine's disks: what happens on a full one. `open` opens a store in a directory.
    void checkFullDisk(const std::function<std::unique_ptr<Store>(const std::string& directory)>& open);

    StoreUnderTest& m_under;
    std::vector<std::string> m_messages; // of every store opened by openStore()
    std::mutex m_messagesMutex;
};

} // namespace recorder::testing
