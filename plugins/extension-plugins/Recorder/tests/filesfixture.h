// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "dialoganswer.h"
#include "modulefixture.h"

#include <QtCore/QTemporaryDir>

/// A folder for the files of one test.
class FileFolder
{
public:
    QString path(const QString& name) const { return _folder.filePath(name); }
    QString folderPath() const { return _folder.path(); }
    void write(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    QByteArray read(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("can not be read");
    }

    /// Rows of a record file.
    static QByteArray rows(int count)
    {
        QByteArray rows;
        for (int i = 0; i < count; ++i) {
            rows += "pump;" + QByteArray::number(i) + ";output;speed;double;1\n";
        }
        return rows;
    }

    /// Downloads into the folder, as a person who types the name.
    void download(RecorderInstance* instance, RecorderRecord* record, const QString& name) const
    {
        const DialogAnswer answer(path(name));
        instance->downloadRecord(record);
        QVERIFY(answer.wasAsked);
    }
    void import(RecorderInstance* instance, const QString& name) const
    {
        instance->importRecord(QUrl::fromLocalFile(path(name)));
    }

private:
    const QTemporaryDir _folder;
};

/// A running recorder with one record of three seconds, and a folder for files.
class Files : public FileFolder
{
public:
    Files()
        : instance(fixture.addRunningRecorder())
        , recorder(instance)
    {
        recorder.records(u'[' + recordJson(RECORD_A, QStringLiteral("Night / shift")) + u']');
        record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
        QuenaryDouble::clearCalls();
    }
    void download(const QString& name) { FileFolder::download(instance, record, name); }
    void import(const QString& name) { FileFolder::import(instance, name); }
    /// A chunk of a record, and the cursor to the next.
    void chunk(const QString& content, int nextBucket, const QString& nextUuid, const QString& recordUuid = RECORD_A)
    {
        recorder.reply(QStringLiteral("receive_export"), { recordUuid, nextBucket, nextUuid, content });
    }
    /// The recorder acknowledges the chunk that it has.
    void acknowledge(const QString& recordUuid = RECORD_B)
    {
        recorder.replyWithToken(
            QStringLiteral("record_uuid"), { recordUuid }, instance->uuid() + QStringLiteral("##import"));
    }

    ModuleFixture fixture;
    RecorderInstance* instance;
    ScriptedRecorder recorder;
    RecorderRecord* record = nullptr;
};
