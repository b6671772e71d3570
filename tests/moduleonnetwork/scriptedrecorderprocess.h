// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QProcess>
#include <QtCore/QStringList>

/// A call of the module, as the recorder reports it.
struct RecorderCall
{
    QString service;
    /// The rows of an import are told by their number of bytes.
    QJsonArray arguments;
    QString token;
    /// On this machine's monotonic clock.
    qint64 atMs = 0;
};

/// The rows that a recorder received.
struct ReceivedRows
{
    qint64 rows = -1;
    qint64 bytes = 0;
    QByteArray digest;
};

/// A scripted recorder (tests/scriptedrecorder) in a process of its own, on the network that this process has joined.
/// Its calls are known while the event loop runs. It ends with the object.
class ScriptedRecorderProcess : public QObject
{
    Q_OBJECT

public:
    explicit ScriptedRecorderProcess(const QString& name = QStringLiteral("Recorder"));
    ~ScriptedRecorderProcess() override;
    Q_DISABLE_COPY_MOVE(ScriptedRecorderProcess)

    static QString program();
    /// Its launch line, with a database.
    static QStringList arguments(const QString& name = QStringLiteral("Recorder"));
    /// Answers the three questions of a module that meets it, and lists record RECORD_A of a minute.
    static QString friendlyScript();
    static const QString RECORD_A;

    /// Returns when it has met this process on the network, with the script in force.
    bool start(const QString& script);
    /// Adds lines to the script. They come into force a little later.
    void say(const QString& lines);
    /// Asks for the rows of imports: receivedRows() are those reported last.
    void askForRows();
    void kill();
    void freeze();
    void resume();
    bool isRunning() const { return _process.state() != QProcess::NotRunning; }
    qint64 processId() const { return _process.processId(); }

    QList<RecorderCall> calls() const { return _calls; }
    QStringList calledServices() const;
    qsizetype count(const QString& service) const;
    void clearCalls() { _calls.clear(); }
    ReceivedRows receivedRows() const { return _rows; }
    /// What it could not do.
    QStringList problems() const { return _problems; }

Q_SIGNALS:
    void called(const QString& service);

private:
    void _read();
    void _signal(int number);

    const QString _name;
    QProcess _process;
    bool _isReady = false;
    bool _isFrozen = false;
    QList<RecorderCall> _calls;
    ReceivedRows _rows;
    QStringList _problems;
};
