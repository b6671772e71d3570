// SPDX-License-Identifier: Apache-2.0
#include "core.h"

#include "network.h"
#include "security/security.h"

#include <chrono>
#include <cstdlib>
#include <pthread.h>
#include <unistd.h>

namespace qny {

int64_t nowMicroseconds()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

int64_t steadyMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

namespace {

std::atomic<Core*> theCore = nullptr;
std::once_flag coreOnce;

// A forked child has none of our threads: it begins anew, and leaves the parent's state untouched and unused. The
// mutex is held over the fork so that the child's copy of everything is whole.
void beforeFork()
{
    theCore.load()->mutex.lock();
}
void afterForkInParent()
{
    theCore.load()->mutex.unlock();
}
void afterForkInChild()
{
    renewLogAfterFork();
    theCore = new Core;
}

} // namespace

Core::Core()
    : dispatcher(*this, mutex)
    , self(std::make_shared<Peer>())
{
    self->isSelf = true;
    self->up = true;
    self->uuid = newUuid();
    self->uuidText = toText(self->uuid);
    self->processId = getpid();
    m_ownerProcess = getpid();
    char* path = realpath("/proc/self/exe", nullptr);
    if (path) {
        executable = isUtf8(path) ? path : printable(path);
        std::free(path); // NOLINT: realpath's own
    }
}

Core& Core::instance()
{
    if (Core* const made = theCore.load(std::memory_order_acquire)) {
        return *made;
    }
    std::call_once(coreOnce, [] {
        theCore = new Core;
        pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);
    });
    return *theCore.load();
}

void Core::refuse(const std::string& what)
{
    ++statistics.messagesRefused;
    warnSeldom(m_refusals, "refused from the network: " + what);
}

void Core::warnSeldom(SeldomLog& log, std::string text)
{
    const int64_t now = steadyMilliseconds();
    if (log.at != 0 && now - log.at < 1000) {
        ++log.leftOut;
        return;
    }
    if (log.leftOut > 0) {
        text += " (and " + std::to_string(log.leftOut) + " more of the kind since the last such message)";
    }
    log = { now, 0 };
    logWarning(text);
}

qny_result_t Core::start(const Options& wanted)
{
    const std::lock_guard lifecycle(m_lifecycle);
    {
        const Lock lock(mutex);
        if (started) {
            return fail(QNY_ERROR_STARTED, "The network is joined already; call qny_stop() first.");
        }
    }
    auto made = std::make_unique<Network>(*this);
    if (const qny_result_t result = made->open(wanted); result != QNY_SUCCESS) {
        return result;
    }
    static std::once_flag exitOnce;
    std::call_once(exitOnce, [] { std::atexit([] { Core::instance().stopAtExit(); }); });

    Lock lock(mutex);
    options = wanted;
    endpoint = made->endpoint();
    shownHostName = wanted.hostName;
    network = made.release();
    started = true;
    self->hostName = wanted.hostName;
    self->address = network->address();
    self->program = std::make_shared<const Program>(executable, commandLine);
    self->processId = getpid();
    self->maxMessageBytes = wanted.maxMessageBytes;
    self->certificate = network->ownCertificate();
    if (self->certificate) {
        self->uuid = Security::peerUuid(*self->certificate);
        self->uuidText = toText(self->uuid);
    }
    defaultAgent();
    for (const auto& [uuid, agent] : m_agents) {
        if (agent->activated) {
            activate(agent);
        }
    }
    tellChanges();
    lock.unlock();
    network->run();
    return QNY_SUCCESS;
}

void Core::stop()
{
    {
        const std::lock_guard lifecycle(m_lifecycle);
        {
            const Lock lock(mutex);
            if (!started) {
                return;
            }
            tellChanges();
            started = false;
            ++epoch;
        }
        network->stop();
        Lock lock(mutex);
        dispatcher.discardBatches();
        monitorCounts.clear();
        while (!peers.empty()) {
            peerDown(peers.begin()->second, false);
        }
        for (const auto& [uuid, agent] : m_agents) {
            if (agent->online) {
                deactivate(agent);
                agent->activated = true;
            }
        }
        m_changed.clear();
        waiting.clear();
        tellAt = 0;
        self->subscriptions.clear();
        self->byAgent.clear();
        self->byOutput.clear();
        endpoint.clear();
        Network* old = network;
        network = nullptr;
        self->certificate.reset();
        lock.unlock();
        delete old;
    }
    Lock lock(mutex);
    dispatcher.drain(lock);
}

void Core::stopAtExit()
{
    if (m_ownerProcess != getpid()) {
        return;
    }
    Lock lock(mutex);
    dispatcher.end(lock);
    lock.unlock();
    stop();
}

} // namespace qny
