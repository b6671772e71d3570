// SPDX-License-Identifier: Apache-2.0
#include "hostsettings.h"

#include <networkconfiguration.h>

#include <QtCore/QFileInfo>

namespace {

constexpr char deviceKey[] = "network/device";
constexpr char portKey[] = "network/port";
constexpr char peersKey[] = "network/peers";
constexpr char privateCertificateKey[] = "network/privateCertificate";
constexpr char publicCertificatesKey[] = "network/publicCertificates";
constexpr char recentDocumentsKey[] = "documents/recent";

// The host may be started in another folder the next time.
QString absolute(const QString& path)
{
    return path.isEmpty() ? QString() : QFileInfo(path).absoluteFilePath();
}

} // namespace

HostSettings::HostSettings()
    : _settings(QStringLiteral("corvane"), QStringLiteral("corvane"))
{
}

bool HostSettings::restoreNetwork(NetworkParts named)
{
    auto* network = NetworkConfiguration::instance();
    const QString device = _settings.value(deviceKey).toString();
    if (!named.testFlag(Device) && !device.isEmpty()) {
        network->setdevice(device);
    }
    const int port = _settings.value(portKey).toInt();
    if (!named.testFlag(Port) && port > 0 && port <= 65535) {
        network->setport(port);
    }
    if (!named.testFlag(Peers) && _settings.contains(peersKey)) {
        network->setpeers(_settings.value(peersKey).toString());
    }
    if (named.testFlag(Security) || !_settings.contains(privateCertificateKey)) {
        return false;
    }
    // One path alone is restored as well: it is refused, which no open network is.
    network->setprivateCertificate(_settings.value(privateCertificateKey).toString());
    network->setpublicCertificates(_settings.value(publicCertificatesKey).toString());
    return network->isQuenarySecurityActivated();
}

void HostSettings::rememberNetwork()
{
    const auto* network = NetworkConfiguration::instance();
    _settings.setValue(deviceKey, network->device());
    _settings.setValue(portKey, network->port());
    _settings.setValue(peersKey, network->peers());
    _settings.setValue(privateCertificateKey, absolute(network->privateCertificate()));
    _settings.setValue(publicCertificatesKey, absolute(network->publicCertificates()));
}

QString HostSettings::unreadableFile() const
{
    return _settings.status() == QSettings::NoError ? QString() : _settings.fileName();
}

QStringList HostSettings::recentDocuments() const
{
    return _settings.value(recentDocumentsKey).toStringList().mid(0, mostRecentDocuments);
}

void HostSettings::rememberDocument(const QString& path)
{
    QStringList documents = recentDocuments();
    documents.removeAll(path);
    documents.prepend(path);
    _settings.setValue(recentDocumentsKey, documents.mid(0, mostRecentDocuments));
}

void HostSettings::forgetDocument(const QString& path)
{
    QStringList documents = recentDocuments();
    documents.removeAll(path);
    _settings.setValue(recentDocumentsKey, documents);
}

void HostSettings::forgetDocuments()
{
    _settings.remove(recentDocumentsKey);
}

HostSettings::NetworkParts HostSettings::namedByEnvironment()
{
    const auto isNamed = [](const char* variable) { return !qEnvironmentVariableIsEmpty(variable); };
    NetworkParts named;
    named.setFlag(Device, isNamed("QNY_DEVICE"));
    named.setFlag(Port, isNamed("QNY_PORT"));
    named.setFlag(Peers, isNamed("QNY_PEERS"));
    named.setFlag(Security, isNamed("QNY_PRIVATE_CERTIFICATE") || isNamed("QNY_PUBLIC_CERTIFICATES"));
    return named;
}
