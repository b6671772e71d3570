// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "filesfixture.h"
#include "pages.h"

/// A running recorder with two records of 300 seconds, shown with its records.
class BusyPages : public Pages
{
public:
    BusyPages()
        : instance(fixture.addRunningRecorder())
        , recorder(instance)
    {
        recorder.records(u'[' + recordJson(RECORD_A, "First", 300000000) + u',' + recordJson(RECORD_B, "Second", 300000000) + u']');
        record = qobject_cast<RecorderRecord*>(instance->records()->get(0));
        files.write("plant.csv", FileFolder::rows(20000)); // two chunks
        open(instance, Pages::Records);
    }
    QStringList overlay() const
    {
        QStringList shown;
        for (const char* const name : { "progressFeedback", "busyFeedback" }) {
            if (isShown(name)) {
                shown += QStringList({ name, text(QString(name) + "/feedbackText") });
            }
        }
        return shown;
    }
    void load()
    {
        instance->loadRecord(record);
        settle();
    }
    void loaded() { recorder.loaded(RECORD_A, 300, "[\"a\",\"b\",\"c\"]"); }
    void exportRecord()
    {
        files.download(instance, record, "out.csv");
        settle();
    }
    void import()
    {
        const auto imports = [] { return QuenaryDouble::calledServices().count("import"); };
        const qsizetype before = imports();
        files.import(instance, "plant.csv");
        QTRY_COMPARE(imports(), before + 1);
        QTRY_VERIFY(instance->importingProgress() > 0);
        settle();
    }

    const FileFolder files;
    RecorderInstance* instance;
    ScriptedRecorder recorder;
    RecorderRecord* record = nullptr;
};
