// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QObject>
#include <QStringList>

/// What stands at the path of a certificate, or of a folder of them.
struct CORVANE_EXPORT CertificatesFound
{
    Q_GADGET
    /// A sentence for the user; empty when the path would do.
    Q_PROPERTY(QString problem MEMBER problem)
    /// In the certificates, in the order of their files, without those that are refused.
    Q_PROPERTY(QStringList names MEMBER names)

public:
    QString problem;
    QStringList names;
};

/// The network that this process is on, or would join. One for the process, on the main thread.
///
/// When it connects, the environment of this process gets QNY_DEVICE, QNY_PORT and QNY_PEERS, and QNY_PRIVATE_CERTIFICATE
/// and QNY_PUBLIC_CERTIFICATES on a secured network, so that agents started from here come to the same network without
/// options, secured as this process is.
class CORVANE_EXPORT NetworkConfiguration : public QObject
{
    Q_OBJECT
    /// The name of this machine as other agents see it.
    Q_PROPERTY(QString localNetworkName READ localNetworkName NOTIFY localNetworkNameChanged)
    /// Name or address of the network device. Changes take effect with the next connection.
    Q_PROPERTY(QString device READ device WRITE setdevice NOTIFY deviceChanged)
    /// UDP port of discovery, 1 to 65535.
    Q_PROPERTY(int port READ port WRITE setport NOTIFY portChanged)
    /// Peers to try besides discovery, "host:port,host:port"; may be empty.
    Q_PROPERTY(QString peers READ peers WRITE setpeers NOTIFY peersChanged)
    /// Devices that could be joined, by name.
    Q_PROPERTY(QStringList availableDevices READ availableDevices NOTIFY availableDevicesChanged)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    /// Why the last connection failed, in a sentence for the user; empty otherwise.
    Q_PROPERTY(QString errorText READ errorText NOTIFY errorTextChanged)
    /// The name of this process's own agent; "Corvane" at first.
    Q_PROPERTY(QString agentName READ agentName WRITE setagentName NOTIFY agentNameChanged)
    /// Paths of this process's certificate and of the directory of those that are let in. Both, or none.
    Q_PROPERTY(
        QString privateCertificate READ privateCertificate WRITE setprivateCertificate NOTIFY privateCertificateChanged)
    Q_PROPERTY(
        QString publicCertificates READ publicCertificates WRITE setpublicCertificates NOTIFY publicCertificatesChanged)
    /// Certificates are set: a connection is secured or refused.
    Q_PROPERTY(bool isQuenarySecurityActivated READ isQuenarySecurityActivated NOTIFY isQuenarySecurityActivatedChanged)

public:
    static NetworkConfiguration* instance();

    QString localNetworkName() const;
    QString device() const;
    void setdevice(const QString& device);
    int port() const;
    void setport(int port);
    QString peers() const;
    void setpeers(const QString& peers);
    QStringList availableDevices() const;
    bool isConnected() const;
    QString errorText() const;
    QString agentName() const;
    /// Cleaned as CorvaneUtils::cleanAgentName() does; an empty name is ignored.
    void setagentName(const QString& agentName);
    QString privateCertificate() const;
    void setprivateCertificate(const QString& path);
    QString publicCertificates() const;
    void setpublicCertificates(const QString& path);
    bool isQuenarySecurityActivated() const;

    /// Joins the network; true also when it is joined already. False with errorText().
    Q_INVOKABLE bool connectToNetwork();
    /// Leaves it: every running agent of the document goes.
    Q_INVOKABLE void disconnectFromNetwork();
    Q_INVOKABLE void refreshAvailableDevices();

    /// What a page says of a path before somebody connects with it. Both read files: not to be called in a loop.
    Q_INVOKABLE CertificatesFound privateCertificateAt(const QString& path) const;
    Q_INVOKABLE CertificatesFound publicCertificatesIn(const QString& directory) const;

Q_SIGNALS:
    void localNetworkNameChanged();
    void deviceChanged();
    void portChanged();
    void peersChanged();
    void availableDevicesChanged();
    void isConnectedChanged();
    void errorTextChanged();
    void agentNameChanged();
    void privateCertificateChanged();
    void publicCertificatesChanged();
    void isQuenarySecurityActivatedChanged();

private:
    NetworkConfiguration();
    ~NetworkConfiguration() override;

    void _setisConnected(bool isConnected);
    void _seterrorText(const QString& errorText);
    void _updateIsQuenarySecurityActivated();

    QString _localNetworkName;
    QString _device;
    int _port;
    QString _peers;
    QStringList _availableDevices;
    bool _isConnected = false;
    QString _errorText;
    QString _agentName;
    QString _privateCertificate;
    QString _publicCertificates;
    bool _isQuenarySecurityActivated = false;
};
