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

    // Into and from NetworkConfiguration; what was never remembered is left alone.
    void restoreNetwork();
    void rememberNetwork();

    // Paths of the documents opened or saved last, the latest first, no more than mostRecentDocuments.
    QStringList recentDocuments() const;
    // The latest from now on.
    void rememberDocument(const QString& path);
    void forgetDocument(const QString& path);
    void forgetDocuments();

    static constexpr int mostRecentDocuments = 8;

    // Whether the environment says which network to join. Only before the host joined one: it sets the environment for
    // the agents that it starts.
    static bool environmentNamesNetwork();

private:
    QSettings _settings;
};

#endif
