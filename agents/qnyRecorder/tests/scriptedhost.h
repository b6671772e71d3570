// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "services/call.h"

#include <QProcess>
#include <QString>
#include <QStringList>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <quenary.h>

namespace recorder::testing {

/// A qnyRecorder process of the test's own; killed, by its id, when the test forgets it.
class RecorderProcess
{
public:
    explicit RecorderProcess(const QString& name)
        : _name(name)
    {
    }
    ~RecorderProcess();

    /// Starts it on the test's network with these options besides name, device and port.
    bool start(const QStringList& options);
    /// SIGTERM; returns the exit status, or -1 when it did not end in time.
    int terminate();
    void kill(); ///< SIGKILL
    /// Waits for the end by itself.
    int waitForEnd();
    bool isRunning() const { return _process.state() == QProcess::Running; }
    qint64 processId() const { return _process.processId(); }
    QString log();
    const QString& name() const { return _name; }

    static QString executable();

private:
    QString _name;
    QProcess _process;
    QByteArray _log;
};

/// One call of one of the host's reply services.
struct Reply
{
    QByteArray service;
    std::vector<Argument> arguments;
    std::optional<QByteArray> token;
    QByteArray agent; ///< name of the host's agent that was answered
    int64_t atNs = 0;

    QString text(size_t index) const { return QString::fromUtf8(std::get<QByteArray>(arguments.at(index))); }
    double number(size_t index) const { return std::get<double>(arguments.at(index)); }
    bool boolean(size_t index) const { return std::get<bool>(arguments.at(index)); }
    int32_t integer(size_t index) const { return std::get<int32_t>(arguments.at(index)); }
};

/// What arrived on one of the host's inputs.
struct Arrival
{
    int64_t atNs = 0;
    std::string output; ///< "agent/output"
    qny_value_type_t type = QNY_UNKNOWN_T;
    double number = 0.0; ///< of a bool, integer or double
    std::string bytes;
    int64_t timeUs = 0;
    bool isLastValue = false;
    bool isStandIn = false;
};

/// The network of the test: joined once for the process, on the loopback device, at a random port.
class TestNetwork
{
public:
    static quint16 port();
    static bool join();
    static void leave();
};

int64_t monotonicNs();
/// Waits until the condition holds, looking often. False after the time.
bool waitUntil(const std::function<bool()>& condition, int ms = 5000);

/// A host: an agent of the test's process that declares the fourteen reply services and drives a recorder.
class ScriptedHost
{
public:
    /// `agent`: the agent to speak as.
    explicit ScriptedHost(qny_agent_t* agent);
    ~ScriptedHost();
    ScriptedHost(const ScriptedHost&) = delete;
    ScriptedHost& operator=(const ScriptedHost&) = delete;

    /// Calls a service of the agent of this name (or uuid) with a token; none with std::nullopt.
    bool call(const QString& recorder, const char* service, const std::vector<Argument>& arguments = {},
        std::optional<QByteArray> token = QByteArray("host-id"));
    /// The next reply of this service (and token) that was not taken yet; others are kept for later.
    std::optional<Reply> reply(const char* service, const char* token = "host-id", int ms = 10000);
    /// Every reply that was not taken, and forgets them.
    std::vector<Reply> takeAll();
    /// Whether a reply of this service comes within the time.
    bool hears(const char* service, int ms);

    /// A record as CSV, chunk by chunk to its end. "failed" when an answer is not of this record.
    QByteArray exported(const QString& recorder, const QString& recordUuid);

    /// Receives an output of the agents of a name.
    void listen(const std::string& agent, const std::string& output);
    std::vector<Arrival> arrivals(const std::string& output = {}) const;
    void clearArrivals();

private:
    static void onReply(const char* senderName, const char* senderUuid, const char* service, qny_service_arg_t* first,
        size_t count, const char* token, void* self);
    static void onPublication(const qny_publication_t* publication, void* self);

    qny_agent_t* _agent;
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<Reply> _replies;
    std::vector<Arrival> _arrivals;
    std::vector<std::pair<std::string, std::string>> _mappings; // input's name is "agent#output"
};

/// An agent that publishes: part of the plant that is recorded.
class PlantAgent
{
public:
    explicit PlantAgent(const char* name);
    ~PlantAgent();
    PlantAgent(const PlantAgent&) = delete;
    PlantAgent& operator=(const PlantAgent&) = delete;

    void publish(const char* output, double value);
    void publish(const char* output, int32_t value);
    void publish(const char* output, bool value);
    void publish(const char* output, const std::string& text);
    void publishData(const char* output, const std::string& bytes);
    void publishImpulse(const char* output);
    qny_agent_t* handle() const { return _agent; }

private:
    qny_agent_t* _agent;
};

} // namespace recorder::testing
