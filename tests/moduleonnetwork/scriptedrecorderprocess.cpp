// SPDX-License-Identifier: Apache-2.0
#include "scriptedrecorderprocess.h"

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <csignal>

namespace {

constexpr int START_MS = 15'000;
constexpr int END_MS = 5'000;

} // namespace

const QString ScriptedRecorderProcess::RECORD_A = QStringLiteral("aaaaaaaa-0000-4000-8000-000000000001");

ScriptedRecorderProcess::ScriptedRecorderProcess(const QString& name)
    : _name(name)
{
    _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(&_process, &QProcess::readyReadStandardOutput, this, &ScriptedRecorderProcess::_read);
}

ScriptedRecorderProcess::~ScriptedRecorderProcess()
{
    if (!isRunning()) {
        return;
    }
    if (_isFrozen) {
        resume();
    }
    _process.closeWriteChannel();
    if (!_process.waitForFinished(END_MS)) {
        kill();
    }
}

QString ScriptedRecorderProcess::program()
{
    return QStringLiteral(RR_SCRIPTED_RECORDER);
}

QStringList ScriptedRecorderProcess::arguments(const QString& name)
{
    return { QStringLiteral("--name"), name, QStringLiteral("--cassandra"), QStringLiteral("db:9042") };
}

QString ScriptedRecorderProcess::friendlyScript()
{
    return QStringLiteral(R"(
        on get_record_filters: record_filters false ""
        on get_records: records [{"uuid":"%1","name":"A","duration_us":60000000,"start_date":"2026-11-21 10:00:00.000","end_date":"2026-11-21 10:01:00.000"}]
        on get_context: context "" "" 0.0 0.0 1.0 false [] [] ""
    )")
        .arg(RECORD_A);
}

bool ScriptedRecorderProcess::start(const QString& script)
{
    _process.start(program(), arguments(_name));
    if (!_process.waitForStarted(START_MS)) {
        return false;
    }
    say(script);
    say(QStringLiteral("start"));
    while (!_isReady && _process.waitForReadyRead(START_MS)) { }
    return _isReady;
}

void ScriptedRecorderProcess::say(const QString& lines)
{
    _process.write(lines.toUtf8() + '\n');
    _process.waitForBytesWritten(START_MS);
}

void ScriptedRecorderProcess::askForRows()
{
    _rows = {};
    say(QStringLiteral("report"));
}

void ScriptedRecorderProcess::kill()
{
    _process.kill();
    _process.waitForFinished(END_MS);
    _isReady = false;
    _isFrozen = false;
}

void ScriptedRecorderProcess::freeze()
{
    _signal(SIGSTOP);
    _isFrozen = true;
}

void ScriptedRecorderProcess::resume()
{
    _signal(SIGCONT);
    _isFrozen = false;
}

void ScriptedRecorderProcess::_signal(int number)
{
    if (const auto process = static_cast<pid_t>(_process.processId()); process > 1) {
        ::kill(process, number);
    }
}

QStringList ScriptedRecorderProcess::calledServices() const
{
    QStringList services;
    for (const RecorderCall& call : _calls) {
        services.append(call.service);
    }
    return services;
}

qsizetype ScriptedRecorderProcess::count(const QString& service) const
{
    return calledServices().count(service);
}

void ScriptedRecorderProcess::_read()
{
    while (_process.canReadLine()) {
        const QJsonObject report = QJsonDocument::fromJson(_process.readLine()).object();
        const QString event = report["event"].toString();
        if (event == QLatin1StringView("ready")) {
            _isReady = true;
        } else if (event == QLatin1StringView("call")) {
            _calls.append({ report["service"].toString(), report["arguments"].toArray(), report["token"].toString(),
                report["at_ms"].toInteger() });
            Q_EMIT called(_calls.last().service);
        } else if (event == QLatin1StringView("rows")) {
            _rows = { report["rows"].toInteger(), report["bytes"].toInteger(), report["digest"].toString().toLatin1() };
        } else {
            _problems.append(report["text"].toString());
            qWarning("The scripted recorder: %s", qPrintable(_problems.last()));
        }
    }
}
