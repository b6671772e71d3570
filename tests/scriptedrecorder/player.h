// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent.h"
#include "rows.h"
#include "script.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <memory>
#include <mutex>
#include <vector>

namespace scripted {

/// Plays the script: answers calls by its rules and does what it is told at once. What a call sets off begins on the
/// network library's thread, so that nothing delays the first answer; what follows a wait goes on on the main thread.
class Player : public QObject
{
    Q_OBJECT

public:
    /// `host`: whom answers go to before anybody called.
    explicit Player(QByteArray host);

    /// A line of a script. False with a sentence for one that is none, or that cannot be done.
    bool take(const QString& line, QString& problem);
    /// Any thread.
    void onCall(const Call& call);

private:
    /// What one call, or one line, set off.
    struct Run
    {
        Call call;
        QList<Step> steps;
        qsizetype next = 0;
    };

    void _play(const std::shared_ptr<Run>& run);
    bool _do(const Step& step, Run& run);
    bool _answer(const QString& service, const QVariantList& arguments, const Run& run);
    bool _answerChunk(const QVariantList& values, const Run& run);
    void _later(const std::shared_ptr<Run>& run, int milliseconds);
    void _stream(const QString& output, double value, double step, int milliseconds);
    void _stopStream(const QString& output);
    static QVariant _valueOf(const Word& word, const Run& run);

    const QByteArray _host;
    // Guards everything below; recursive, because a run may begin another.
    std::recursive_mutex _mutex;
    QHash<QString, QHash<int, QList<Step>>> _rules; // by service, then by occurrence
    QHash<QString, int> _callCounts;
    QHash<QString, Call> _lastCalls; // without the texts of imports
    Call _lastCall;
    std::vector<std::pair<QString, std::shared_ptr<Run>>> _waitingForCalls;
    QHash<QString, QTimer*> _streams; // on the main thread
    RowDigest _imported;
};

} // namespace scripted
