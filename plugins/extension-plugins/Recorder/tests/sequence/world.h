// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expected.h"
#include "journal.h"
#include "random.h"
#include "recordermodule.h"
#include "workergate.h"

#include <quenarydouble.h>

#include <QtCore/QHash>
#include <QtCore/QTemporaryDir>

#include <functional>
#include <memory>

class SystemDocument;

/// What a sequence of actions acts on: a module, the documents that it follows, the recorders that run on the network that
/// the test plays, and files. Everything is chosen by one seed, and nothing happens by itself: no timer expires and no
/// import task runs unless an action says so.
class World : public QObject
{
public:
    explicit World(quint64 seed);
    ~World() override;

    Random random;
    Journal journal;
    Messages messages;

    // ---- what there is
    RecorderModule& module() { return *_module; }
    /// Destroys the module and makes another.
    void renewModule();
    static SystemDocument* document();
    static SystemView* view();
    /// The class instances of the current view that are recorders.
    static QList<SystemViewClassInstance*> recorderClassInstances();
    /// As they were when lookAround() last looked.
    const QList<Recorder*>& recorders() const { return _recorders; }
    const QList<RecorderInstance*>& instances() const { return _instances; }
    /// Those of the lists and those of files, looked up at each call of lookAround().
    const QList<RecorderRecord*>& records() const { return _records; }
    RecorderInstance* instanceWithUuid(const QString& uuid) const;
    /// Null when there is none.
    RecorderInstance* anyInstance();
    RecorderInstance* anyInstanceThatIsOn();
    /// One of the list, the current one or that of a file; null when there is none.
    RecorderRecord* anyRecord(const RecorderInstance& instance);
    QString label(const RecorderInstance* instance);

    QList<QuenaryDouble::Agent> agents;
    /// Of instances that are gone; a late answer may name them.
    QStringList deadUuids;
    /// Files that exist and files that do not, those of many rows among them.
    QString importFile(int which) const;
    QString newDownloadFile();
    const QTemporaryDir& folder() const { return _folder; }

    // ---- what is expected
    ExpectedInstance& expected(const RecorderInstance& instance) { return _expected[instance.uuid()]; }
    /// Will happen when the main thread comes to what was posted by now: settle() applies it. Dropped when the instance is
    /// gone by then.
    void expectLater(const QString& uuid, const std::function<void(ExpectedInstance&)>& change);
    /// The instance warns that it is off when it is.
    void allowOff(const RecorderInstance& instance, const char* service);

    // ---- what happens
    /// Delivers everything that was posted, deferred deletions included.
    void settle();
    bool isSettled() const { return _isSettled; }
    void unsettle() { _isSettled = false; }
    /// The import tasks that were started run.
    void letWorkerRun();
    /// A page, or the module, tells an instance that the recorder has a chunk.
    void acknowledgeImport(RecorderInstance& instance, const QString& recordUuid);
    /// Announces what an instance may say of an acknowledged chunk.
    void allowAcknowledgement();
    /// Announces what a new name may bring about: it is refused, or agents that no instance has lose their class instance.
    void allowRenaming();
    /// Expires the timer that ends a silent recording; false when it does not run.
    static bool isRecordingTimerActive(const RecorderInstance& instance);
    static void expireRecordingTimer(RecorderInstance& instance);
    /// Calls of services, by the token's instance, for imports only: what was sent and not compared yet.
    QHash<QString, QList<ExpectedCall>> sentByImports;
    QHash<QString, QList<ExpectedCall>> expectedOfImports;

    /// Instances that went off while nothing else was on its way.
    QStringList takeWentOff() { return std::exchange(_wentOff, {}); }
    /// Compares what was called with who may call, and keeps what imports sent.
    void lookAtCalls();
    /// A document is being opened: the module makes its recorders twice, for the document and for its view, and those of
    /// the first time have asked their questions before they go.
    bool isOpeningDocument = false;
    /// What went wrong beside the invariants: messages that nobody announced, calls that nobody may make.
    QString problem();

    /// Takes notice of instances that came and went.
    void lookAround();
    /// While a file dialog is open.
    bool isInDialog = false;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void _writeFiles() const;
    void _follow(const RecorderInstance& instance);
    void _expectEnd(const QString& uuid, const ExpectedInstance::ImportResult& result);
    void _collectCalls(ExpectedInstance& instance, const QString& uuid);

    QTemporaryDir _folder;
    WorkerGate _gate;
    std::unique_ptr<RecorderModule> _module;
    QList<Recorder*> _recorders;
    QList<RecorderInstance*> _instances;
    QList<RecorderRecord*> _records;
    QHash<QString, ExpectedInstance> _expected;
    struct Later
    {
        QString uuid;
        std::function<void(ExpectedInstance&)> change;
    };
    QList<Later> _later;
    /// Instances whose tasks wait at the gate, in the order in which the tasks were started.
    QHash<QString, int> _numbers;
    QStringList _wentOff;
    QStringList _wrongCalls;
    int _downloads = 0;
    bool _isSettled = true;
};
