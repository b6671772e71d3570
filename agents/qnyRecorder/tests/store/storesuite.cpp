// SPDX-License-Identifier: Apache-2.0
#include "storesuite.h"

namespace recorder::testing {

void StoreSuite::init()
{
    m_under.makeEmpty();
    const std::lock_guard guard(m_messagesMutex);
    m_messages.clear();
}

void StoreSuite::cleanup()
{
    if (QTest::currentTestFailed()) {
        const std::lock_guard guard(m_messagesMutex);
        for (const std::string& message : m_messages) {
            qInfo("the store said: %s", message.c_str());
        }
    }
}

std::unique_ptr<Store> StoreSuite::openStore()
{
    StoreResult result;
    std::unique_ptr<Store> store = m_under.open(result, [this](const std::string& message) {
        const std::lock_guard guard(m_messagesMutex);
        m_messages.push_back(message);
    });
    if (!store) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return store;
}

RecordFacts StoreSuite::newFacts(const std::string& name, std::int64_t startUs)
{
    RecordFacts facts;
    facts.uuid = newRecordUuid();
    facts.name = name;
    facts.startUs = startUs;
    return facts;
}

std::string StoreSuite::record(Store& store, const std::vector<Event>& events, const std::string& name)
{
    std::unique_ptr<RecordWriter> writer;
    const RecordFacts facts = newFacts(name);
    StoreResult result = store.create(facts, writer);
    std::int64_t timeUs = 0;
    std::size_t sinceTick = 0;
    for (const Event& event : events) {
        timeUs = std::max(timeUs, event.timeUs);
        if (result) {
            result = writer->append(event.view());
        }
        if (result && ++sinceTick == 1000) {
            sinceTick = 0;
            result = writer->tick(timeUs);
        }
    }
    if (result) {
        result = writer->close(timeUs);
    }
    if (!result) {
        QTest::qFail(result.message.c_str(), __FILE__, __LINE__);
    }
    return facts.uuid;
}

} // namespace recorder::testing
