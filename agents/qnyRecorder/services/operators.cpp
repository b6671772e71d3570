// SPDX-License-Identifier: Apache-2.0
#include "operators.h"

#include "../log.h"

#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace recorder {

namespace {

/// A filter or a chunk of rows may be long; who reads the log wants to know which record it was.
constexpr qsizetype MOST_CHARACTERS = 200;

QString shown(const Argument& argument)
{
    if (const auto* b = std::get_if<bool>(&argument)) {
        return *b ? QStringLiteral("true") : QStringLiteral("false");
    }
    if (const auto* i = std::get_if<int32_t>(&argument)) {
        return QString::number(*i);
    }
    if (const auto* d = std::get_if<double>(&argument)) {
        return QString::number(*d, 'g', QLocale::FloatingPointShortest);
    }
    const auto* bytes = std::get_if<QByteArray>(&argument);
    const QString text = bytes ? QString::fromUtf8(*bytes) : QString();
    return text.size() > MOST_CHARACTERS ? text.left(MOST_CHARACTERS) + QStringLiteral("…") : text;
}

constexpr qsizetype MOST_TRANSFERS = 10'000;
/// After so long without a call a transfer is over; the next call begins another.
constexpr std::chrono::seconds TRANSFER_IDLE { 10 };

/// A new file is its owner's alone from its first moment on. Where others may write into the folder, a link of theirs
/// leads to no other file, and a file of theirs is none that says the truth. Returns what is wrong, or nothing.
QString openAudit(QFile& file)
{
    const QByteArray path = QFile::encodeName(file.fileName());
    const int descriptor = ::open(
        path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        return errno == ELOOP ? QStringLiteral("it is a link") : QString::fromLocal8Bit(std::strerror(errno));
    }
    struct stat status {};
    QString problem;
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid()) {
        problem = QStringLiteral("it is no file of this user's own");
    } else if (fchmod(descriptor, S_IRUSR | S_IWUSR) != 0
        || !file.open(descriptor, QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered,
            QFileDevice::AutoCloseHandle)) {
        problem = QString::fromLocal8Bit(std::strerror(errno));
    }
    if (!problem.isEmpty()) {
        ::close(descriptor);
    }
    return problem;
}

/// JSON leaves some characters as they are that control a terminal, or turn a line's reading around.
QByteArray escaped(const QByteArray& json)
{
    QString out;
    for (const QChar c : QString::fromUtf8(json)) {
        const bool beginsLine = c.category() == QChar::Separator_Line || c.category() == QChar::Separator_Paragraph;
        out += isHarmful(c) || beginsLine ? QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'))
                                          : QString(c);
    }
    return out.toUtf8();
}

} // namespace

bool isQuestion(Service service)
{
    return service == Service::GetRecords || service == Service::GetContext || service == Service::GetRecordFilters;
}

std::unique_ptr<Operators> Operators::open(const QString& directory, const QString& auditPath, QString& problem)
{
    qny_certificates_t* certificates = qny_certificates_open(QFile::encodeName(directory).constData());
    if (!certificates) {
        problem = QStringLiteral("--operators: ") + QString::fromUtf8(qny_last_error());
        return nullptr;
    }
    std::unique_ptr<Operators> made(new Operators(certificates, directory, auditPath));
    QFile file(auditPath);
    if (const QString wrong = openAudit(file); !wrong.isEmpty()) {
        problem = QStringLiteral("the audit log %1 cannot be written: %2").arg(auditPath, wrong);
        return nullptr;
    }
    return made;
}

Operators::Operators(qny_certificates_t* certificates, const QString& directory, const QString& auditPath)
    : _certificates(certificates)
    , _directory(directory)
    , _auditPath(auditPath)
{
}

Operators::~Operators()
{
    qny_certificates_close(_certificates);
}

QString Operators::describe() const
{
    return QStringLiteral("Commands are obeyed from %1 operators, those in %2; who was obeyed stands in %3")
        .arg(qny_certificates_count(_certificates))
        .arg(_directory, _auditPath);
}

QString Operators::refusal(const Caller& caller) const
{
    if (qny_certificates_hold(_certificates, caller.publicKey.constData())) {
        return {};
    }
    return QStringLiteral("the certificate %1 is none of the operators' in %2").arg(caller.certificateName, _directory);
}

/// The host says of its first request that it is the first.
static bool beginsExport(const Call& call)
{
    constexpr size_t IS_FIRST = 4;
    const auto* isFirst = call.service == Service::Export && call.arguments.size() > IS_FIRST
        ? std::get_if<bool>(&call.arguments[IS_FIRST])
        : nullptr;
    return isFirst != nullptr && *isFirst;
}

bool Operators::goesOn(const Call& call)
{
    if (call.service != Service::Export && call.service != Service::Append) {
        return false;
    }
    // By whose key, too: the uuid of an agent that has left may be another's.
    const QByteArray transfer = QByteArray(declaredService(call.service).name) + call.caller.publicKey
        + call.caller.agentUuid + (call.arguments.empty() ? QByteArray() : shown(call.arguments.front()).toUtf8());
    const auto now = std::chrono::steady_clock::now();
    const auto known = _transfers.constFind(transfer);
    const bool isOn = known != _transfers.constEnd() && now - *known < TRANSFER_IDLE;
    if (_transfers.size() >= MOST_TRANSFERS) {
        _transfers.clear();
    }
    _transfers.insert(transfer, now);
    return isOn && !beginsExport(call);
}

void Operators::noteObeyed(const Call& call)
{
    if (isQuestion(call.service) || goesOn(call)) {
        return;
    }
    QStringList arguments;
    // Not the rows.
    const bool hasRows = call.service == Service::Import || call.service == Service::Append;
    const size_t most = call.arguments.size() - (hasRows && !call.arguments.empty() ? 1 : 0);
    for (size_t i = 0; i < most; ++i) {
        arguments.append(shown(call.arguments[i]));
    }
    write(call.caller, declaredService(call.service).name, arguments);
}

void Operators::noteStopRequest(const Caller& caller) const
{
    write(caller, "stop the recorder", {});
}

void Operators::write(const Caller& caller, const char* command, const QStringList& arguments) const
{
    const QJsonObject entry { { QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs) },
        { QStringLiteral("command"), QLatin1String(command) },
        { QStringLiteral("arguments"), QJsonArray::fromStringList(arguments) },
        { QStringLiteral("certificate"), caller.certificateName },
        { QStringLiteral("key"), QString::fromLatin1(caller.publicKey) },
        { QStringLiteral("agent"), caller.agentName } };
    const QByteArray line = escaped(QJsonDocument(entry).toJson(QJsonDocument::Compact)) + '\n';
    // Opened for each line, so that whoever keeps the logs may move it away.
    QFile file(_auditPath);
    QString wrong = openAudit(file);
    if (wrong.isEmpty() && file.write(line) != line.size()) {
        wrong = file.errorString();
    }
    if (!wrong.isEmpty()) {
        qCritical().noquote() << "The audit log" << _auditPath << "cannot be written:" << wrong
                              << "; it should say:" << line.trimmed();
    }
}

} // namespace recorder
