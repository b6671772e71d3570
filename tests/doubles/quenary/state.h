// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "quenarydouble.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

/// An agent of this process: what was declared on it.
struct qny_agent
{
    struct Service
    {
        QString name;
        qny_service_fn callback = nullptr;
        void* userData = nullptr;
        QList<std::pair<QByteArray, qny_value_type_t>> arguments;
    };
    struct Observer
    {
        qny_io_fn callback = nullptr;
        qny_publication_fn publicationCallback = nullptr;
        void* userData = nullptr;
    };
    struct Input
    {
        QString name;
        qny_value_type_t type = QNY_UNKNOWN_T;
        QVariant value;
        QList<Observer> observers;
    };
    struct Output
    {
        QString name;
        qny_value_type_t type = QNY_UNKNOWN_T;
        uint64_t sequence = 0;
    };

    QString name;
    QString uuid;
    QString family;
    bool isActive = false;
    QList<Service> services;
    QList<Input> inputs;
    QList<Output> outputs;
    QStringList mappings;
};

namespace QuenaryDouble {

struct Script
{
    QString function;
    QString firstArgument;
    qny_result_t result = QNY_SUCCESS;
};
struct AgentObserver
{
    qny_agent_event_fn callback = nullptr;
    void* userData = nullptr;
};

/// Everything that reset() forgets; reached under the lock only. Callbacks are never called under it.
struct State
{
    QStringList calls;
    QList<ServiceCall> serviceCalls;
    QList<Script> scripts;
    QStringList stopRequests;
    QList<Agent> agents;
    QList<AgentObserver> agentObservers;
    qny_stop_fn stopCallback = nullptr;
    void* stopUserData = nullptr;
    bool isStarted = false;
    QByteArray hostName = "double";
    qny_agent defaultAgent;
    std::vector<std::unique_ptr<qny_agent>> otherAgents;
};

std::unique_lock<std::recursive_mutex> lock();
State& state();

/// Records a call and gives the result that it is to have. With a result other than success the caller does nothing.
qny_result_t record(const char* function, const QStringList& arguments);
/// Notes the error of this thread's last call, and returns it.
qny_result_t fail(qny_result_t result);

/// Runs something on a thread that plays the library's, and waits for it.
void onLibraryThread(const std::function<void()>& action);

QString typeText(qny_value_type_t type);
char* copyText(const QByteArray& text);
/// A value of the network library in Qt's form.
QVariant toVariant(qny_value_type_t type, const void* value, size_t size);
/// The other way: appends the value to a list of arguments; what is of no type of the library is appended as its text.
void appendArgument(qny_service_arg_t** list, const QVariant& value);
/// The value in this type, or nothing when it does not convert.
std::optional<RawValue> convert(QVariant value, qny_value_type_t type);

/// Whether a handle is of an agent that exists.
bool isAgent(const qny_agent* agent);

template <typename T> T* findNamed(QList<T>& items, const char* name)
{
    for (T& item : items) {
        if (item.name == QString::fromUtf8(name)) {
            return &item;
        }
    }
    return nullptr;
}

} // namespace QuenaryDouble
