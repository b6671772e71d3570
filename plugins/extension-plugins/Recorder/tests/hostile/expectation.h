// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "stage.h"

/// What a stage will show after something that is about to happen: begins as what it shows now, and is changed by the
/// test where the happening is to change it. Names without a dot are those of the recorder instance.
class Expectation
{
public:
    explicit Expectation(Stage& stage);

    bool isOn() const { return is("isOn"); }
    bool is(const char* property) const { return value(property) == QStringLiteral("true"); }
    QString value(const char* property) const { return _after.value(pathOf(property)); }
    /// The path of the record that is current; empty without one.
    QString currentRecord() const;
    int recordCount() const { return _after.rows(pathOf("records")); }
    static QString pathOf(const char* property) { return QStringLiteral("Rec[0].") + QLatin1StringView(property); }

    void set(const char* property, const QString& value) { _after.set(pathOf(property), value); }
    void set(const char* property, double value);
    void clear(std::initializer_list<const char*> flags);
    void raise(const char* flag) { set(flag, QStringLiteral("true")); }
    void problem(const QString& text) { _problems.append(QStringLiteral("warning: ") + text); }
    /// Asks the recorder, or warns that it is off.
    void call(const char* service, const QString& arguments = QString());
    void keepInDocument(const char* table, const QString& text);

    // ---- records, by path
    void newRecord(const QString& record, const QString& uuid, const QString& name);
    void load(const QString& record, const QStringList& agents, const QStringList& activeAgents, int speedRow);
    void unload(const QString& record);
    void moveTo(const QString& record, double seconds);
    void setReplaying(const QString& record, bool isReplaying);
    /// Null for none.
    void setCurrentRecord(const QString& record);
    void removeAllRecords();
    void newRecordFromFile(const QString& path);
    void removeRecordFromFile();
    /// Everything as it is while no agent runs.
    void leave();

    /// What is not as expected, a line each. Forgets the calls that were made.
    QStringList surprises(const MessageLog& messages);

private:
    Stage& _stage;
    Snapshot _after;
    QStringList _problems;
    QStringList _calls;
};
