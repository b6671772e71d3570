// SPDX-License-Identifier: Apache-2.0
#include "samplerecords.h"

namespace {

constexpr double LOADED_SECONDS = 300;
constexpr qint64 MICROSECONDS = 1'000'000;

QString nameOf(int index, const QDateTime& start, SampleRecords::Names names)
{
    static const QStringList usual { QStringLiteral("Cold start, valve stuck"), QStringLiteral("Night run 17"),
        QStringLiteral("Operator training"), QStringLiteral("Import of plant.csv") };
    static const QStringList strange { QStringLiteral("Cold start, valve stuck"),
        QStringLiteral("<b>Operator</b> <img src=x> training & more"),
        QStringLiteral("A long name that somebody typed without thinking of those who come after and must find it"),
        QStringLiteral("100 % %1 \u00e9t\u00e9 \u043d\u0430\u0441\u043e\u0441 \u0627\u0644\u0642\u0637\u0627\u0631") };
    const QString name = (names == SampleRecords::Names::Strange ? strange : usual).value(index);
    return name.isEmpty() ? start.toString(QStringLiteral("dd/MM/yy - hh:mm:ss")) : name;
}

} // namespace

QString SampleRecords::uuid(int index)
{
    return QStringLiteral("aaaaaaaa-0000-4000-8000-%1").arg(index, 12, 10, QChar(u'0'));
}

QString SampleRecords::list(int count, Names names)
{
    static const QString form = QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz");
    const QDateTime newest(QDate(2026, 11, 21), QTime(9, 42, 10));
    QStringList records;
    for (int i = 0; i < count; ++i) {
        const QDateTime start = newest.addSecs(-i * 18'743);
        const double seconds = i == 0 ? LOADED_SECONDS : (i * 7919) % 30'000 + 0.34;
        records.append(recordJson(uuid(i), nameOf(i, start, names), qRound64(seconds * MICROSECONDS),
            start.toString(form), start.addMSecs(qRound64(seconds * 1000)).toString(form)));
    }
    return u'[' + records.join(u',') + u']';
}

QString SampleRecords::agents(const QStringList& names)
{
    return QStringLiteral("[\"%1\"]").arg(names.join(QStringLiteral("\",\"")));
}

QString SampleRecords::manyAgents(int count)
{
    QStringList names { QStringLiteral("<i>Controller</i>"),
        QStringLiteral("An agent of the boiler house whose name does not fit into one line of the list") };
    while (names.size() < count) {
        names.append(QStringLiteral("Pump %1").arg(names.size() - 1, 3, 10, QChar(u'0')));
    }
    return agents(names);
}

void SampleRecords::load(RecorderInstance* recorder, ScriptedRecorder& played, int index, const QString& agents)
{
    if (recorder->records()->count() == 0) {
        played.records(list(5));
    }
    recorder->loadRecord(record(recorder, index));
    played.loaded(uuid(index), LOADED_SECONDS, agents);
}

RecorderRecord* SampleRecords::record(RecorderInstance* recorder, int index)
{
    for (int row = 0; row < recorder->records()->count(); ++row) {
        auto* const record = qobject_cast<RecorderRecord*>(recorder->records()->get(row));
        if (record->uuid() == uuid(index)) {
            return record;
        }
    }
    return nullptr;
}
