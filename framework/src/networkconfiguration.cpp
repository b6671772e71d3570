// SPDX-License-Identifier: Apache-2.0
#include "networkconfiguration.h"

#include "corvaneutils.h"
#include "launchers.h"
#include "networkagents.h"

#include <zqproperty.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <quenary.h>

namespace {

constexpr int DEFAULT_PORT = 5670;
constexpr int MAXIMUM_PORT = 65535;

QString taken(char* text)
{
    const QString copy = QString::fromUtf8(text);
    qny_free(text);
    return copy;
}

// To the agents that are started from here.
void handOn(const char* variable, const QByteArray& value)
{
    if (value.isEmpty()) {
        qunsetenv(variable);
    } else {
        qputenv(variable, value);
    }
}

// They may be started in another folder.
QByteArray pathBytes(const QString& path)
{
    return path.isEmpty() ? QByteArray() : QFile::encodeName(QFileInfo(path).absoluteFilePath());
}

} // namespace

NetworkConfiguration* NetworkConfiguration::instance()
{
    static NetworkConfiguration* const self = new NetworkConfiguration; // never deleted: documents ask it to the last
    return self;
}

NetworkConfiguration::NetworkConfiguration()
    : _localNetworkName(taken(qny_host_name()))
    , _device(qEnvironmentVariable("QNY_DEVICE", QStringLiteral("lo")))
    , _port(qEnvironmentVariableIntValue("QNY_PORT"))
    , _peers(qEnvironmentVariable("QNY_PEERS"))
    , _isConnected(qny_is_started())
    , _agentName(QStringLiteral("Corvane"))
    , _privateCertificate(qEnvironmentVariable("QNY_PRIVATE_CERTIFICATE"))
    , _publicCertificates(qEnvironmentVariable("QNY_PUBLIC_CERTIFICATES"))
    , _isQuenarySecurityActivated(!_privateCertificate.isEmpty() || !_publicCertificates.isEmpty())
{
    if (_port < 1 || _port > MAXIMUM_PORT) {
        _port = DEFAULT_PORT;
    }
    refreshAvailableDevices();
    qAddPostRoutine([] { NetworkConfiguration::instance()->disconnectFromNetwork(); });
}

NetworkConfiguration::~NetworkConfiguration() = default;

QString NetworkConfiguration::localNetworkName() const
{
    return _localNetworkName;
}

QString NetworkConfiguration::device() const
{
    return _device;
}

void NetworkConfiguration::setdevice(const QString& device)
{
    ZqProperty::assign(this, _device, device, &NetworkConfiguration::deviceChanged);
}

int NetworkConfiguration::port() const
{
    return _port;
}

void NetworkConfiguration::setport(int port)
{
    if (port < 1 || port > MAXIMUM_PORT) {
        _seterrorText(tr("The port stays %1: it must be from 1 to %2, not %3.").arg(_port).arg(MAXIMUM_PORT).arg(port));
        return;
    }
    ZqProperty::assign(this, _port, port, &NetworkConfiguration::portChanged);
}

QString NetworkConfiguration::peers() const
{
    return _peers;
}

void NetworkConfiguration::setpeers(const QString& peers)
{
    ZqProperty::assign(this, _peers, peers.trimmed(), &NetworkConfiguration::peersChanged);
}

QStringList NetworkConfiguration::availableDevices() const
{
    return _availableDevices;
}

bool NetworkConfiguration::isConnected() const
{
    return _isConnected;
}

QString NetworkConfiguration::errorText() const
{
    return _errorText;
}

QString NetworkConfiguration::agentName() const
{
    return _agentName;
}

void NetworkConfiguration::setagentName(const QString& agentName)
{
    const QString cleanName = CorvaneUtils::cleanAgentName(agentName);
    if (cleanName.isEmpty() || !ZqProperty::assign(_agentName, cleanName)) {
        return;
    }
    if (_isConnected && qny_name_set(_agentName.toUtf8().constData()) != QNY_SUCCESS) {
        _seterrorText(tr("The host's agent keeps its name until the next connection: %1")
                .arg(QString::fromUtf8(qny_last_error())));
    }
    Q_EMIT agentNameChanged();
}

QString NetworkConfiguration::privateCertificate() const
{
    return _privateCertificate;
}

void NetworkConfiguration::setprivateCertificate(const QString& path)
{
    if (ZqProperty::assign(this, _privateCertificate, path, &NetworkConfiguration::privateCertificateChanged)) {
        _updateIsQuenarySecurityActivated();
    }
}

QString NetworkConfiguration::publicCertificates() const
{
    return _publicCertificates;
}

void NetworkConfiguration::setpublicCertificates(const QString& path)
{
    if (ZqProperty::assign(this, _publicCertificates, path, &NetworkConfiguration::publicCertificatesChanged)) {
        _updateIsQuenarySecurityActivated();
    }
}

bool NetworkConfiguration::isQuenarySecurityActivated() const
{
    return _isQuenarySecurityActivated;
}

bool NetworkConfiguration::connectToNetwork()
{
    if (qny_is_started()) {
        _seterrorText({});
        _setisConnected(true);
        return true;
    }
    NetworkAgents::instance(); // observes from the first arrival on
    Launchers::instance()->declare();

    const QByteArray device = _device.toUtf8();
    const QByteArray peers = _peers.toUtf8();
    // Before the start: what is switched off here must not come back from the environment. One path alone is handed
    // over as well: the library refuses it, and says what is missing.
    handOn("QNY_PRIVATE_CERTIFICATE", pathBytes(_privateCertificate));
    handOn("QNY_PUBLIC_CERTIFICATES", pathBytes(_publicCertificates));
    qny_options_t options;
    qny_options_init(&options);
    options.device = device.isEmpty() ? nullptr : device.constData();
    options.port = static_cast<uint16_t>(_port);
    options.peers = peers.constData();
    qny_result_t result = qny_name_set(_agentName.toUtf8().constData());
    if (result == QNY_SUCCESS) {
        result = qny_start(&options);
    }
    if (result != QNY_SUCCESS) {
        QString text = tr("Not connected on device '%1', port %2: %3")
                           .arg(_device)
                           .arg(_port)
                           .arg(QString::fromUtf8(qny_last_error()));
        if (!text.endsWith(u'.')) {
            text += u'.';
        }
        switch (result) {
        case QNY_ERROR_DEVICE:
            refreshAvailableDevices();
            text += u' ' + tr("Choose one of these devices: %1.").arg(_availableDevices.join(QLatin1String(", ")));
            break;
        case QNY_ERROR_PORT_IN_USE:
            text += u' ' + tr("Choose another port, here and for the agents.");
            break;
        case QNY_ERROR_SECURITY:
            text += u' ' + tr("Check the certificates, or connect without security.");
            break;
        default:
            break;
        }
        _seterrorText(text);
        _setisConnected(false);
        return false;
    }
    if (!device.isEmpty()) {
        qputenv("QNY_DEVICE", device);
    }
    qputenv("QNY_PORT", QByteArray::number(_port));
    handOn("QNY_PEERS", peers);
    ZqProperty::assign(this, _localNetworkName, taken(qny_host_name()), &NetworkConfiguration::localNetworkNameChanged);
    _seterrorText({});
    _setisConnected(true);
    return true;
}

void NetworkConfiguration::disconnectFromNetwork()
{
    qny_stop();
    _setisConnected(false);
}

void NetworkConfiguration::refreshAvailableDevices()
{
    size_t count = 0;
    qny_device_t* devices = qny_devices(&count);
    QStringList names;
    for (size_t i = 0; i < count; ++i) {
        const QString name = QString::fromUtf8(devices[i].name);
        if (!names.contains(name)) {
            names.append(name);
        }
    }
    qny_free(devices);
    ZqProperty::assign(this, _availableDevices, names, &NetworkConfiguration::availableDevicesChanged);
}

void NetworkConfiguration::_setisConnected(bool isConnected)
{
    ZqProperty::assign(this, _isConnected, isConnected, &NetworkConfiguration::isConnectedChanged);
}

void NetworkConfiguration::_seterrorText(const QString& errorText)
{
    if (!errorText.isEmpty()) {
        qWarning("%s", qUtf8Printable(errorText));
    }
    ZqProperty::assign(this, _errorText, errorText, &NetworkConfiguration::errorTextChanged);
}

void NetworkConfiguration::_updateIsQuenarySecurityActivated()
{
    ZqProperty::assign(this, _isQuenarySecurityActivated,
        !_privateCertificate.isEmpty() || !_publicCertificates.isEmpty(),
        &NetworkConfiguration::isQuenarySecurityActivatedChanged);
}
