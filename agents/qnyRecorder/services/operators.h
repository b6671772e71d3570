// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "call.h"

#include <QHash>
#include <QStringList>

#include <chrono>
#include <memory>

namespace recorder {

/// Who may command this recorder: the owners of the certificates in one directory, which is watched. What they command
/// is written into the audit log. From any thread, unless it says otherwise.
class Operators
{
public:
    /// Null with what is wrong.
    static std::unique_ptr<Operators> open(const QString& directory, const QString& auditPath, QString& problem);
    ~Operators();
    Operators(const Operators&) = delete;
    Operators& operator=(const Operators&) = delete;

    /// For the log.
    QString describe() const;
    /// Why this caller is not obeyed, or nothing.
    QString refusal(const Caller& caller) const;
    /// Writes down that the caller is obeyed, unless the call only asks for something, or goes on with a transfer that
    /// is written down. On the command thread.
    void noteObeyed(const Call& call);
    void noteStopRequest(const Caller& caller) const;

private:
    Operators(qny_certificates_t* certificates, const QString& directory, const QString& auditPath);
    /// A download and an import are many calls: the first one stands for all.
    bool goesOn(const Call& call);
    void write(const Caller& caller, const char* command, const QStringList& arguments) const;

    qny_certificates_t* const _certificates;
    const QString _directory;
    const QString _auditPath;
    QHash<QByteArray, std::chrono::steady_clock::time_point> _transfers; ///< when each was heard of last
};

/// What changes nothing and hands out no values: everybody who is let in may ask it.
bool isQuestion(Service service);

} // namespace recorder
