// SPDX-License-Identifier: Apache-2.0
#include "recorderinstance.h"

#include "recorderoptions.h"

#include <corvaneutils.h>
#include <systemviewmanager.h>
#include <zqproperty.h>

#include <QtCore/QCommandLineOption>
#include <QtCore/QCommandLineParser>
#include <QtCore/QDebug>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>

namespace {

const QString ENDPOINT_SCHEME = QStringLiteral("tcp://");

// Without brackets, with or without the name of a device behind "%".
bool isAddressOfIpv6(const QString& text)
{
    static const QRegularExpression FORM(QStringLiteral("\\A[0-9a-fA-F:.]*:[0-9a-fA-F:.]*(?:%[^\\s%]+)?\\z"));
    if (!FORM.match(text).hasMatch()) {
        return false;
    }
    QString encoded = text;
    encoded.replace(u'%', QLatin1StringView("%25"));
    return QUrl(ENDPOINT_SCHEME + u'[' + encoded + u']', QUrl::StrictMode).isValid();
}

QString withPort(const QString& host, const QString& port)
{
    return QStringLiteral("%1:%2").arg(host, port);
}

QString longOption(const QString& longName)
{
    return QStringLiteral("--%1").arg(longName);
}

QString shortOption(const QString& shortName)
{
    return shortName.isEmpty() ? QString() : QStringLiteral("-%1").arg(shortName);
}

QString withOption(
    const QString& commandLine, QLatin1StringView longName, QLatin1StringView shortName, const QString& value)
{
    return CorvaneUtils::updateCommandLineWithArgumentOptionFor(
        commandLine, longOption(longName), shortOption(shortName), value);
}

} // namespace

// ---- reading the command line -----------------------------------------------------------------------------------

void RecorderInstance::_extractDataFromCommandLine(const QString& commandLine)
{
    if (commandLine.isEmpty()) {
        qWarning("Recorder: can not extract data from an empty command line");
        return;
    }

    const auto option = [](QLatin1StringView longName, QLatin1StringView shortName, bool hasValue) {
        return QCommandLineOption({ longName, shortName }, QString(), hasValue ? QStringLiteral("value") : QString());
    };
    const QCommandLineOption cassandra
        = option(RECORDER_CASSANDRA_LONG_OPTION_NAME, RECORDER_CASSANDRA_SHORT_OPTION_NAME, true);
    const QCommandLineOption keyspace
        = option(RECORDER_KEYSPACE_LONG_OPTION_NAME, RECORDER_KEYSPACE_SHORT_OPTION_NAME, true);
    const QCommandLineOption verbose
        = option(RECORDER_VERBOSE_LONG_OPTION_NAME, RECORDER_VERBOSE_SHORT_OPTION_NAME, false);
    const QCommandLineOption privateCertificate
        = option(RECORDER_PRIVATECERT_LONG_OPTION_NAME, RECORDER_PRIVATECERT_SHORT_OPTION_NAME, true);
    const QCommandLineOption publicCertificates
        = option(RECORDER_PUBLICCERTS_LONG_OPTION_NAME, RECORDER_PUBLICCERTS_SHORT_OPTION_NAME, true);
    const QCommandLineOption timestampedReplay
        = option(RECORDER_TIMESTAMPED_REPLAY_LONG_OPTION_NAME, RECORDER_TIMESTAMPED_REPLAY_SHORT_OPTION_NAME, false);

    // parse(), not process(): the line holds options that are none of ours, and no line may end the host.
    QCommandLineParser parser;
    parser.addOptions({ cassandra, keyspace, verbose, privateCertificate, publicCertificates, timestampedReplay });
    parser.parse(QProcess::splitCommand(commandLine));

    _setDefaultCommandLine(commandLine);
    ZqProperty::assign(this, _isVerbose, parser.isSet(verbose), &RecorderInstance::isVerboseChanged);
    setcassandraEndpoint(parser.value(cassandra).trimmed());
    _setcustomKeyspace(parser.value(keyspace).trimmed());
    ZqProperty::assign(
        this, _useCustomKeyspace, !_customKeyspace.isEmpty(), &RecorderInstance::useCustomKeyspaceChanged);
    ZqProperty::assign(this, _privateAgentCertificateFilePath, parser.value(privateCertificate).trimmed(),
        &RecorderInstance::privateAgentCertificateFilePathChanged);
    ZqProperty::assign(this, _publicCertificatesDirectoryPath, parser.value(publicCertificates).trimmed(),
        &RecorderInstance::publicCertificatesDirectoryPathChanged);
    ZqProperty::assign(this, _isQuenarySecurityActivate,
        !_privateAgentCertificateFilePath.isEmpty() || !_publicCertificatesDirectoryPath.isEmpty(),
        &RecorderInstance::isQuenarySecurityActivateChanged);
    ZqProperty::assign(this, _isInTimestampedReplayMode, parser.isSet(timestampedReplay),
        &RecorderInstance::isInTimestampedReplayModeChanged);
}

// ---- endpoint ---------------------------------------------------------------------------------------------------

QString RecorderInstance::_parseCassandraEndpoint(const QString& endpoint) const
{
    QString text = endpoint.trimmed();
    if (text.isEmpty()) {
        return QString();
    }
    if (!text.startsWith(ENDPOINT_SCHEME)) {
        text.prepend(ENDPOINT_SCHEME);
    }
    // An address of IPv6 stands in the launch line without brackets, its port behind the last colon, as the recorder
    // takes it. That is no URL; it is what this function made of one.
    static const QRegularExpression HOST_AND_PORT(QStringLiteral("\\A(.+):([0-9]{1,5})\\z"));
    const QString address = text.sliced(ENDPOINT_SCHEME.size());
    const QRegularExpressionMatch match = HOST_AND_PORT.match(address);
    if (match.hasMatch() && isAddressOfIpv6(match.captured(1))) {
        return address;
    }
    if (isAddressOfIpv6(address)) {
        return withPort(address, DEFAULT_CASSANDRA_PORT_STRING);
    }
    const QUrl url(text);
    return withPort(url.host(QUrl::FullyDecoded),
        url.port() < 0 ? QString(DEFAULT_CASSANDRA_PORT_STRING) : QString::number(url.port()));
}

void RecorderInstance::setcassandraEndpoint(const QString& endpoint)
{
    if (!ZqProperty::assign(_cassandraEndpoint, _parseCassandraEndpoint(endpoint))) {
        return;
    }
    Q_EMIT cassandraEndpointChanged();
    Q_EMIT cassandraEndpointUrlChanged();
    Q_EMIT offlineModeChanged();
}

QUrl RecorderInstance::cassandraEndpointUrl() const
{
    return _cassandraEndpoint.isEmpty() ? QUrl() : QUrl(ENDPOINT_SCHEME + _cassandraEndpoint);
}

void RecorderInstance::updateCassandraEndpoint(const QString& endpoint)
{
    const QString trimmedEndpoint = endpoint.trimmed();
    if (trimmedEndpoint == _cassandraEndpoint) {
        return;
    }
    setcassandraEndpoint(trimmedEndpoint);
    _updateCommandLineOptionWithArgument(
        RECORDER_CASSANDRA_LONG_OPTION_NAME, RECORDER_CASSANDRA_SHORT_OPTION_NAME, _cassandraEndpoint, true);
}

// ---- verbose, timestamped replay --------------------------------------------------------------------------------

void RecorderInstance::updateIsVerbose(bool isVerbose)
{
    if (ZqProperty::assign(this, _isVerbose, isVerbose, &RecorderInstance::isVerboseChanged)) {
        _updateCommandLineOptionWithoutArgument(
            RECORDER_VERBOSE_LONG_OPTION_NAME, RECORDER_VERBOSE_SHORT_OPTION_NAME, _isVerbose);
    }
}

void RecorderInstance::updateTimestampedReplayMode(bool enabled)
{
    if (ZqProperty::assign(
            this, _isInTimestampedReplayMode, enabled, &RecorderInstance::isInTimestampedReplayModeChanged)) {
        _updateCommandLineOptionWithoutArgument(RECORDER_TIMESTAMPED_REPLAY_LONG_OPTION_NAME,
            RECORDER_TIMESTAMPED_REPLAY_SHORT_OPTION_NAME, _isInTimestampedReplayMode);
    }
}

// ---- keyspace ---------------------------------------------------------------------------------------------------

void RecorderInstance::updateUseCustomKeyspace(bool useCustomKeyspace)
{
    if (!ZqProperty::assign(this, _useCustomKeyspace, useCustomKeyspace, &RecorderInstance::useCustomKeyspaceChanged)) {
        return;
    }
    if (!_customKeyspace.isEmpty()) {
        _updateCommandLineOptionWithArgument(RECORDER_KEYSPACE_LONG_OPTION_NAME, RECORDER_KEYSPACE_SHORT_OPTION_NAME,
            _useCustomKeyspace ? _customKeyspace : QString(), true);
    }
}

void RecorderInstance::updateCustomKeyspace(const QString& keyspace)
{
    static const QRegularExpression CASSANDRA_KEYSPACE_REGEX(QStringLiteral("[^a-zA-Z0-9_]"));
    const QString before = _customKeyspace;
    _setcustomKeyspace(keyspace.trimmed().remove(CASSANDRA_KEYSPACE_REGEX));
    if (_customKeyspace != before && _useCustomKeyspace) {
        _updateCommandLineOptionWithArgument(
            RECORDER_KEYSPACE_LONG_OPTION_NAME, RECORDER_KEYSPACE_SHORT_OPTION_NAME, _customKeyspace, true);
    }
}

void RecorderInstance::_setcustomKeyspace(const QString& keyspace)
{
    ZqProperty::assign(this, _customKeyspace, keyspace, &RecorderInstance::customKeyspaceChanged);
}

// ---- authentication ---------------------------------------------------------------------------------------------

void RecorderInstance::updateUseAuthentication(bool useAuthentication)
{
    if (!ZqProperty::assign(this, _useAuthentication, useAuthentication, &RecorderInstance::useAuthenticationChanged)) {
        return;
    }
    if (_username.isEmpty() || _password.isEmpty()) {
        return;
    }
    _updateCommandLineOptionWithArgument(RECORDER_USERNAME_LONG_OPTION_NAME, RECORDER_USERNAME_SHORT_OPTION_NAME,
        _useAuthentication ? _username : QString(), true);
    _updateCommandLineOptionWithArgument(RECORDER_PASSWORD_LONG_OPTION_NAME, RECORDER_PASSWORD_SHORT_OPTION_NAME,
        _useAuthentication ? _password : QString(), true);
}

void RecorderInstance::updateUsername(const QString& username)
{
    if (ZqProperty::assign(this, _username, username.trimmed(), &RecorderInstance::usernameChanged)
        && _useAuthentication) {
        _updateCommandLineOptionWithArgument(
            RECORDER_USERNAME_LONG_OPTION_NAME, RECORDER_USERNAME_SHORT_OPTION_NAME, _username, true);
    }
}

void RecorderInstance::updatePassword(const QString& password)
{
    // Not trimmed: blanks are part of a password.
    if (ZqProperty::assign(this, _password, password, &RecorderInstance::passwordChanged) && _useAuthentication) {
        _updateCommandLineOptionWithArgument(
            RECORDER_PASSWORD_LONG_OPTION_NAME, RECORDER_PASSWORD_SHORT_OPTION_NAME, _password, true);
    }
}

// ---- security ---------------------------------------------------------------------------------------------------

void RecorderInstance::updateIsQuenarySecurityActivate(bool isActivated)
{
    if (!ZqProperty::assign(
            this, _isQuenarySecurityActivate, isActivated, &RecorderInstance::isQuenarySecurityActivateChanged)) {
        return;
    }
    if (_isQuenarySecurityActivate) {
        _restoreQuenarySecurityCommandLineOptions();
    } else {
        _resetQuenarySecurityCommandLineOptions();
    }
}

// A path counts as new when it differs after trimming, and is then stored as it was given.
void RecorderInstance::updatePrivateAgentCertificateFilePath(const QString& path)
{
    Q_ASSERT(_instance);
    if (path.trimmed() == _privateAgentCertificateFilePath) {
        return;
    }
    ZqProperty::assign(
        this, _privateAgentCertificateFilePath, path, &RecorderInstance::privateAgentCertificateFilePathChanged);
    if (_isQuenarySecurityActivate) {
        _updateCommandLineOptionWithArgument(RECORDER_PRIVATECERT_LONG_OPTION_NAME,
            RECORDER_PRIVATECERT_SHORT_OPTION_NAME, _privateAgentCertificateFilePath, true);
    }
}

void RecorderInstance::updatePublicCertificatesDirectoryPath(const QString& path)
{
    Q_ASSERT(_instance);
    if (path.trimmed() == _publicCertificatesDirectoryPath) {
        return;
    }
    ZqProperty::assign(
        this, _publicCertificatesDirectoryPath, path, &RecorderInstance::publicCertificatesDirectoryPathChanged);
    if (_isQuenarySecurityActivate) {
        _updateCommandLineOptionWithArgument(RECORDER_PUBLICCERTS_LONG_OPTION_NAME,
            RECORDER_PUBLICCERTS_SHORT_OPTION_NAME, _publicCertificatesDirectoryPath, true);
    }
}

void RecorderInstance::_resetQuenarySecurityCommandLineOptions()
{
    Q_ASSERT(_encounteredAgentInfo);
    QString commandLine = _encounteredAgentInfo->commandLine();
    commandLine = withOption(
        commandLine, RECORDER_PUBLICCERTS_LONG_OPTION_NAME, RECORDER_PUBLICCERTS_SHORT_OPTION_NAME, QString());
    commandLine = withOption(
        commandLine, RECORDER_PRIVATECERT_LONG_OPTION_NAME, RECORDER_PRIVATECERT_SHORT_OPTION_NAME, QString());
    _updateAgentCommandLine(commandLine, true);
}

void RecorderInstance::_restoreQuenarySecurityCommandLineOptions()
{
    Q_ASSERT(_encounteredAgentInfo);
    QString commandLine = _encounteredAgentInfo->commandLine();
    if (!_publicCertificatesDirectoryPath.isEmpty()) {
        commandLine = withOption(commandLine, RECORDER_PUBLICCERTS_LONG_OPTION_NAME,
            RECORDER_PUBLICCERTS_SHORT_OPTION_NAME, _publicCertificatesDirectoryPath);
    }
    if (!_privateAgentCertificateFilePath.isEmpty()) {
        commandLine = withOption(commandLine, RECORDER_PRIVATECERT_LONG_OPTION_NAME,
            RECORDER_PRIVATECERT_SHORT_OPTION_NAME, _privateAgentCertificateFilePath);
    }
    _updateAgentCommandLine(commandLine, true);
}

// ---- writing the command line -----------------------------------------------------------------------------------

void RecorderInstance::_updateCommandLineOptionWithoutArgument(
    const QString& longName, const QString& shortName, bool enabled)
{
    Q_ASSERT(!longName.isEmpty());
    Q_ASSERT(_encounteredAgentInfo);
    const QString commandLine = _encounteredAgentInfo->commandLine();
    const QString newCommandLine = CorvaneUtils::updateCommandLineWithNoArgumentOptionFor(
        commandLine, longOption(longName), shortOption(shortName), enabled);
    if (newCommandLine != commandLine) {
        _updateAgentCommandLine(newCommandLine, true);
    }
}

void RecorderInstance::_updateCommandLineOptionWithArgument(
    const QString& longName, const QString& shortName, const QString& value, bool flag)
{
    Q_ASSERT(!longName.isEmpty());
    Q_ASSERT(_encounteredAgentInfo);
    const QString commandLine = _encounteredAgentInfo->commandLine();
    const QString newCommandLine = CorvaneUtils::updateCommandLineWithArgumentOptionFor(
        commandLine, longOption(longName), shortOption(shortName), value);
    if (newCommandLine != commandLine) {
        _updateAgentCommandLine(newCommandLine, flag);
    }
}

// The flag is passed along by every writer and has no effect: a launch line is always stored without renaming.
void RecorderInstance::_updateAgentCommandLine(const QString& commandLine, bool)
{
    Q_ASSERT(!commandLine.isEmpty());
    Q_ASSERT(_instance);
    Q_ASSERT(_encounteredAgentInfo);
    if (commandLine != _encounteredAgentInfo->commandLine()) {
        SystemViewManager::instance()->udapteEncounteredAgentInfoCommandLineNoUndoRedo(
            _instance, _encounteredAgentsOnHost, _encounteredAgentInfo, commandLine, false);
    }
}
