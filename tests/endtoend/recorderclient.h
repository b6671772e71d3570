// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_ENDTOEND_RECORDERCLIENT_H
#define TESTS_ENDTOEND_RECORDERCLIENT_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtCore/QWaitCondition>

#include <functional>
#include <optional>

struct RecorderReply
{
    QString service;
    QVariantList arguments;
    QString token;
};

// This test's process as a host on the network: it calls a recorder and keeps its replies, in their order. It knows no
// module, so that what it sees is the recorder's own doing. One a process; the network is joined and left with it.
class RecorderClient
{
public:
    static constexpr int replyBoundMs = 15'000;

    RecorderClient();
    ~RecorderClient();

    // False with a sentence in *error.
    bool start(quint16 port, QString* error);
    // Until an agent of that name is there (or is no more).
    static bool waitForAgent(const QString& name, bool isPresent, int timeoutMs = replyBoundMs);
    // Calls a service; texts, doubles, ints and bools as arguments, null token for none.
    bool call(const QString& agent, const QString& service, const QVariantList& arguments, const QString& token);
    // The next reply of one of these services that nobody took yet; those before it are dropped.
    std::optional<RecorderReply> take(const QStringList& services, int timeoutMs = replyBoundMs);
    // A whole export; nothing when an answer does not come or is a refusal.
    std::optional<QByteArray> exportRecord(const QString& agent, const QString& recordUuid);

    // Called by the network library's thread.
    void receive(const RecorderReply& reply);

private:
    QMutex _mutex;
    QWaitCondition _arrived;
    QList<RecorderReply> _replies;
};

#endif
