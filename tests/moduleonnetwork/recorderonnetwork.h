// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "dialoganswer.h"
#include "moduleonnetwork.h"
#include "rows.h"
#include "scriptedrecorderprocess.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QTest>

#include <functional>

/// Whether it does within the time. Looks more often than QTRY_VERIFY, which tests of many small waits are grateful
/// for.
inline bool comesTrue(const std::function<bool()>& condition, int timeoutMs = 15'000)
{
    return QTest::qWaitFor(condition, timeoutMs);
}

/// A module and one scripted recorder that are linked: what most tests here begin with. Every warning that a test does
/// not announce fails it.
class RecorderOnNetwork
{
public:
    static constexpr int BOUND_MS = 15'000;

    /// `script` comes after the friendly one.
    explicit RecorderOnNetwork(const QString& script = QString())
        : instance(network.place(
              QStringLiteral("Recorder"), ScriptedRecorderProcess::program(), ScriptedRecorderProcess::arguments()))
        , _script(ScriptedRecorderProcess::friendlyScript() + script)
    {
        // The offscreen platform warns of what it does not do with windows.
        QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support)")));
        QVERIFY2(network.problem().isEmpty(), qPrintable(network.problem()));
        run();
    }

    /// The recorder's program, from the beginning. Returns when the module has its list of records.
    void run()
    {
        QVERIFY(process.start(_script));
        QVERIFY(comesTrue([&] { return instance->isOn(); }));
        QVERIFY(comesTrue([&] { return process.count("get_context") > 0 && instance->records()->count() == 1; }));
        process.clearCalls();
    }

    RecorderRecord* record() { return qobject_cast<RecorderRecord*>(instance->records()->get(0)); }
    QString path(const QString& name) const { return folder.filePath(name); }

    void download(const QString& name)
    {
        const DialogAnswer answer(path(name));
        instance->downloadRecord(record());
        QVERIFY(answer.wasAsked && instance->isDownloadingRecord());
    }

    void import(const QString& name) { instance->importRecord(QUrl::fromLocalFile(path(name))); }

    void writeRows(const QString& name, qint64 count, qsizetype padding = 0) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && GeneratedRows::write(file, count, padding));
    }

    /// Those that came in imports since this was asked last; -1 rows when the recorder does not say.
    ReceivedRows receivedRows()
    {
        process.askForRows();
        const bool isTold = comesTrue([this] { return process.receivedRows().rows >= 0; });
        return isTold ? process.receivedRows() : ReceivedRows();
    }

    QTemporaryDir folder;
    ModuleOnNetwork network;
    ScriptedRecorderProcess process;
    RecorderInstance* const instance;

private:
    const QString _script;
};
