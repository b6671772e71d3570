// SPDX-License-Identifier: Apache-2.0
#include "expectation.h"

#include <QtCore/QLocale>

namespace {

const QString NOTHING = QStringLiteral("null");
const QString START = QStringLiteral("2026-11-21 10:00:00.000 local");
const QString END = QStringLiteral("2026-11-21 10:00:03.000 local");

QString textOf(double value)
{
    return QString::number(value, 'g', QLocale::FloatingPointShortest);
}

QString textOf(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QStringList difference(const char* what, const QStringList& expected, const QStringList& found)
{
    if (expected == found) {
        return QStringList();
    }
    return { QStringLiteral("%1: %2 expected, found %3")
            .arg(QLatin1StringView(what), expected.join(QStringLiteral(" | ")), found.join(QStringLiteral(" | "))) };
}

QString rows(qsizetype count)
{
    return QStringLiteral("%1 rows").arg(count);
}

} // namespace

Expectation::Expectation(Stage& stage)
    : _stage(stage)
    , _after(stage.snapshot())
{
}

QString Expectation::currentRecord() const
{
    return value("currentRecord") == NOTHING ? QString() : value("currentRecord");
}

void Expectation::set(const char* property, double value)
{
    set(property, textOf(value));
}

void Expectation::clear(std::initializer_list<const char*> flags)
{
    for (const char* flag : flags) {
        set(flag, textOf(false));
    }
}

void Expectation::call(const char* service, const QString& arguments)
{
    if (isOn()) {
        _calls.append(QStringLiteral("%1(%2)").arg(QLatin1StringView(service), arguments));
    } else {
        problem(QStringLiteral("Instance is off. Can not call service '%1'").arg(QLatin1StringView(service)));
    }
}

void Expectation::keepInDocument(const char* table, const QString& text)
{
    _after.set(
        QStringLiteral("document.%1.%2").arg(QLatin1StringView(table), value("encounteredAgentInfo.uuid")), text);
}

// ---- records ----------------------------------------------------------------------------------------------------

void Expectation::newRecord(const QString& record, const QString& uuid, const QString& name)
{
    _after.removeUnder(record + u'.');
    const std::pair<const char*, QString> values[] = { { "objectName", "" }, { "name", name }, { "uuid", uuid },
        { "startDateTime", START }, { "endDateTime", END }, { "durationInSeconds", "3" }, { "isRecording", "false" },
        { "isLoaded", "true" } };
    for (const auto& [property, value] : values) {
        _after.set(record + u'.' + QLatin1StringView(property), value);
    }
    unload(record);
}

void Expectation::load(const QString& record, const QStringList& agents, const QStringList& activeAgents, int speedRow)
{
    const bool isPartial = !activeAgents.isEmpty() && activeAgents != agents;
    _after.removeUnder(record + ".agentsFilters[");
    _after.removeUnder(record + ".speeds[");
    _after.set(record + ".isLoaded", textOf(true));
    _after.set(record + ".agentsFilters", rows(agents.size()));
    _after.set(record + ".lastActiveAgentsFilter", (isPartial ? activeAgents : agents).join(u','));
    _after.set(record + ".agentsFilterState", isPartial ? "1" : "2");
    _after.set(record + ".agentsFilterRecap", isPartial ? activeAgents.first() : QStringLiteral("All agents"));
    for (qsizetype i = 0; i < agents.size(); ++i) {
        const QString filter = QStringLiteral("%1.agentsFilters[%2]").arg(record).arg(i);
        _after.set(filter + ".objectName", "");
        _after.set(filter + ".children", "");
        _after.set(filter + ".name", agents.at(i));
        _after.set(filter + ".checked", textOf(!isPartial || activeAgents.contains(agents.at(i))));
    }
    const QStringList speeds { "0.5", "1", "2", "3", "4" };
    _after.set(record + ".speeds", rows(speeds.size()));
    for (qsizetype i = 0; i < speeds.size(); ++i) {
        const QString speed = QStringLiteral("%1.speeds[%2]").arg(record).arg(i);
        _after.set(speed + ".objectName", "");
        _after.set(speed + ".children", "");
        _after.set(speed + ".value", speeds.at(i));
        _after.set(speed + ".label", speeds.at(i) + u'\u00d7');
    }
    _after.set(record + ".speed", QStringLiteral("%1.speeds[%2]").arg(record).arg(speedRow));
    _after.set(record + ".children", QStringLiteral("%1 RecordAgentFilter,5 Speed").arg(agents.size()));
}

void Expectation::unload(const QString& record)
{
    if (!_after.isTrue(record + ".isLoaded")) {
        return;
    }
    _after.removeUnder(record + ".agentsFilters[");
    _after.removeUnder(record + ".speeds[");
    const std::pair<const char*, QString> values[] = { { "isLoaded", "false" }, { "isReplaying", "false" },
        { "replayProgressInSecond", "0" }, { "replayIsAtStart", "true" }, { "agentsFilters", rows(0) },
        { "agentsFilterState", "2" }, { "agentsFilterRecap", "No agent on record" }, { "lastActiveAgentsFilter", "" },
        { "speeds", rows(0) }, { "speed", NOTHING }, { "children", "" } };
    for (const auto& [property, value] : values) {
        _after.set(record + u'.' + QLatin1StringView(property), value);
    }
}

void Expectation::moveTo(const QString& record, double seconds)
{
    _after.set(record + ".replayProgressInSecond", textOf(seconds));
    _after.set(record + ".replayIsAtStart", textOf(seconds == 0.0));
}

void Expectation::setReplaying(const QString& record, bool isReplaying)
{
    _after.set(record + ".isReplaying", textOf(isReplaying));
    if (record == currentRecord()) {
        set("isReplaying", textOf(isReplaying));
    }
}

void Expectation::setCurrentRecord(const QString& record)
{
    if (record == currentRecord()) {
        return;
    }
    if (!currentRecord().isEmpty()) {
        unload(currentRecord());
    }
    set("currentRecord", record.isEmpty() ? NOTHING : record);
    set("isReplaying", textOf(!record.isEmpty() && _after.isTrue(record + ".isReplaying")));
}

void Expectation::removeAllRecords()
{
    if (currentRecord().contains("records[")) {
        setCurrentRecord(QString());
    }
    if (value("exportRecord").contains("records[")) {
        set("exportRecord", NOTHING);
    }
    _after.removeUnder(pathOf("records["));
    set("records", rows(0));
}

void Expectation::newRecordFromFile(const QString& path)
{
    removeRecordFromFile();
    newRecord(pathOf("recordFromFile"), path, path);
    set("recordFromFile", pathOf("recordFromFile"));
}

void Expectation::removeRecordFromFile()
{
    if (currentRecord() == pathOf("recordFromFile")) {
        setCurrentRecord(QString());
    }
    _after.removeUnder(pathOf("recordFromFile."));
    set("recordFromFile", NOTHING);
}

void Expectation::leave()
{
    removeAllRecords();
    removeRecordFromFile();
    setCurrentRecord(QString());
    clear({ "isOn", "isRecording", "isRecordingPaused", "isReplaying", "isLoadingRecord", "isImportingRecord",
        "isCancelingImport", "isWaitingToFilterAgents", "isStoppingRecord", "isMovingRecord", "isFilteringRecord",
        "isDownloadingRecord", "isCancelingExport" });
    for (const char* number :
        { "recordingProgressInSeconds", "loadingProgress", "importingProgress", "exportingProgress" }) {
        set(number, 0.0);
    }
    set("exportRecord", NOTHING);
    set("agentInstanceUuid", QString());
    set("waiting context", QString());
    set("runningAgentInfo", NOTHING);
    _after.removeUnder(pathOf("runningAgentInfo."));
    _after.set("Rec.found by agent uuid", NOTHING);
    QStringList mappings = _after.value("network.mappings").split(u',');
    mappings.removeIf([this](const QString& mapping) { return mapping.startsWith(value("uuid")); });
    _after.set("network.mappings", mappings.join(u','));
}

QStringList Expectation::surprises(const MessageLog& messages)
{
    // What belongs to an instance is in its lists: no object is forgotten, no file left open.
    QStringList children;
    if (is("isDownloadingRecord")) {
        children.append("1 QFile");
    }
    const int records = recordCount() + (value("recordFromFile") == NOTHING ? 0 : 1);
    if (records > 0) {
        children.append(QStringLiteral("%1 RecorderRecord").arg(records));
    }
    set("children", children.join(u','));

    const QStringList surprises = _after.changesTo(_stage.snapshot())
        + difference("problems", _problems, messages.problems()) + difference("calls", _calls, Stage::calls());
    QuenaryDouble::clearCalls();
    return surprises;
}
