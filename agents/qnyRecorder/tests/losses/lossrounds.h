// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store/childrecorder.h"
#include "../store/storesuite.h"
#include "producer.h"

#include <QObject>

#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

namespace recorder::testing {

// What became of the events of one round.
struct Account
{
    std::int64_t produced = 0;
    std::int64_t stored = 0;
    std::int64_t reported = 0; // as lost, or as deleted
    std::int64_t inLastSecond = 0; // before the recorder was killed
    std::int64_t unexplained() const { return produced - stored - reported - inLastSecond; }
};

// What the tests of losses share: rounds, each with a seed that decides its moments, and the account of every event:
// what was produced is what is stored and what is reported as lost, and of a killed recorder what was not older than a
// second; nothing is there twice or altered. RR_LOSS_ROUNDS rounds of each fault, RR_LOSS_SEED the first one's seed;
// each prints a line for scripts/loss-test.
class LossRounds : public QObject
{
public:
    explicit LossRounds(StoreUnderTest& store)
        : m_under(store)
    {
    }

protected:
    // The rows of a test function, for one store or several.
    static void addRounds(const QStringList& stores = { QString() });
    // At the beginning of a round.
    void beginRound();
    int between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(m_random); }
    // The moment of a fault is what the seed decides.
    void pause(int leastMs, int mostMs);

    // Null, with the test failed, when it cannot be opened.
    std::unique_ptr<Store> openStore();
    std::unique_ptr<Producer> produce(Store& store, std::size_t valueBytes = 0);
    // What a person was told, by every store opened in this round.
    bool wasSaid(const std::string& words);
    std::string everythingSaid();
    void tellWhatWasSaid(); // when the test failed
    Store::MessageHandler listener();

    // Until nothing waits any more.
    virtual bool waitUntilStored(Store& store);
    // Reads the record of this round, checks it, and says what became of its events.
    void check(Store& store, const std::string& uuid, Account& account, std::size_t valueBytes = 0);
    void conclude(const Account& account);

    // ---- the recorder is killed (kills.cpp)
    void killWhileItRecords();
    void killWhileItImports();
    void killWhileItDeletes();

    StoreUnderTest& m_under;
    std::mt19937_64 m_random;
    std::string m_uuid; // of the record that produce() began

private:
    std::mutex m_mutex;
    std::vector<std::string> m_said;
};

} // namespace recorder::testing
