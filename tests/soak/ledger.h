// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SOAK_LEDGER_H
#define TESTS_SOAK_LEDGER_H

#include <recordcheck.h>

#include <QtCore/QFile>
#include <QtCore/QHash>
#include <QtCore/QMap>

namespace soak {

// A record that was exported, and when it was made.
struct MadeRecord
{
    QString file;
    bool wasKilled = false; // its recorder, at the end
    tour::RecordingWindow window;

    // As the host says it; false when the text is not that.
    static bool fromJson(const QByteArray& json, MadeRecord* record);
};

// What became of the publications of a record's time.
struct Account
{
    qsizetype produced = 0; // that certainly fell into the recording
    qsizetype recorded = 0;
    qsizetype lost = 0; // as the record says
    qsizetype lives = 0; // stays of agents that it has events of
    qint64 latestStartUs
        = 0; // the longest time from the first publication of an agent that came meanwhile to its first event
    QStringList faults; // unexplained, altered, doubled, never published
};

// Knows from the crowd's journal what was published, and holds records against it.
class Ledger
{
public:
    explicit Ledger(const QString& journal);

    // Records in the order in which they were begun.
    Account settle(const MadeRecord& record);

private:
    using Key = std::pair<QString, qint32>; // an agent and its life
    struct Life
    {
        qint64 joinedUs = 0; // 0: long ago
        qint64 goneUs = 0; // left or killed; 0: not yet
        bool wasKilled = false;
        qint64 frozenUs = 0;
        qint64 thawedUs = 0;
        QHash<QString, QMap<qint32, qint64>> published; // by output: number and time
    };
    void _read();
    void _forgetBefore(qint64 timeUs);
    static bool _isOwed(const Life& life, qint64 timeUs, const tour::RecordingWindow& window);
    static bool _isPause(qint64 timeUs, const tour::RecordingWindow& window);

    QFile _journal;
    QByteArray _rest; // of a row that is not whole yet
    QMap<Key, Life> _lives;
};

} // namespace soak

#endif
