// SPDX-License-Identifier: Apache-2.0
#include "hostsettings.h"

#include <networkconfiguration.h>

namespace {

constexpr char deviceKey[] = "network/device";
constexpr char portKey[] = "network/port";
constexpr char peersKey[] = "network/peers";
constexpr char privateCertificateKey[] = "network/privateCertificate";
constexpr char publicCertificatesKey[] = "network/publicCertificates";
constexpr char recentDocumentsKey[] = "documents/recent";

} // namespace

HostSettings::HostSettings()
    : _settings(QStringLiteral("corvane"), QStringLiteral("corvane"))
{
}

void HostSettings::restoreNetwork()
{
    auto* network = NetworkConfiguration::instance();
    const QString device = _settings.value(deviceKey).toString();
    if (!device.isEmpty()) {
        network->setdevice(device);
    }
    const int port = _settings.value(portKey).toInt();
    if (port > 0 && port <= 65535) {
        network->setport(port);
    }
    if (_settings.contains(peersKey)) {
        network->setpeers(_settings.value(peersKey).toString());
    }
    if (_settings.contains(privateCertificateKey)) {
        network->setprivateCertificate(_settings.value(privateCertificateKey).toString());
        network->setpublicCertificates(_settings.value(publicCertificatesKey).toString());
    }
}

void HostSettings::rememberNetwork()
{
    const auto* network = NetworkConfiguration::instance();
    _settings.setValue(deviceKey, network->device());
    _settings.setValue(portKey, network->port());
    _settings.setValue(peersKey, network->peers());
    _settings.setValue(privateCertificateKey, network->privateCertificate());
    _settings.setValue(publicCertificatesKey, network->publicCertificates());
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

bool HostSettings::environmentNamesNetwork()
{
    return !qEnvironmentVariableIsEmpty("QNY_DEVICE") || !qEnvironmentVariableIsEmpty("QNY_PORT")
        || !qEnvironmentVariableIsEmpty("QNY_PEERS") || !qEnvironmentVariableIsEmpty("QNY_PRIVATE_CERTIFICATE")
        || !qEnvironmentVariableIsEmpty("QNY_PUBLIC_CERTIFICATES");
}
