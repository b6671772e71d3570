// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_HOSTSETTINGS_H
#define CORVANE_HOSTSETTINGS_H

#include <QtCore/QSettings>
#include <QtCore/QStringList>

// What the host keeps from one run to the next, for this user. Main thread only.
class HostSettings
{
public:
    HostSettings();

    // What is settled by itself of a network. Security is one part: who names one of its two paths settles both.
    enum NetworkPart
    {
        Device = 1,
        Port = 2,
        Peers = 4,
        Security = 8
    };
    Q_DECLARE_FLAGS(NetworkParts, NetworkPart)

    // Into NetworkConfiguration, but for the parts that are named elsewhere; what was never remembered is left alone.
    // Whether security came from here.
    bool restoreNetwork(NetworkParts named = {});
    // From NetworkConfiguration, with the paths of security as they are found from any folder.
    void rememberNetwork();
    // A file that is there but cannot be read, or is none of settings: what was remembered is not known. Else empty.
    QString unreadableFile() const;

    // Paths of the documents opened or saved last, the latest first, no more than mostRecentDocuments.
    QStringList recentDocuments() const;
    // The latest from now on.
    void rememberDocument(const QString& path);
    void forgetDocument(const QString& path);
    void forgetDocuments();

    static constexpr int mostRecentDocuments = 8;

    // Which parts the environment names. Only before the host joined a network: then it sets the environment for the
    // agents that it starts.
    static NetworkParts namedByEnvironment();

private:
    QSettings _settings;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(HostSettings::NetworkParts)

#endif
