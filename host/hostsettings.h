// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_HOSTSETTINGS_H
#define CORVANE_HOSTSETTINGS_H

#include <QtCore/QSettings>

// What the host keeps from one run to the next, for this user. Main thread only.
class HostSettings
{
public:
    HostSettings();

    // Into and from NetworkConfiguration; what was never remembered is left alone.
    void restoreNetwork();
    void rememberNetwork();

    // Whether the environment says which network to join. Only before the host joined one: it sets the environment for
    // the agents that it starts.
    static bool environmentNamesNetwork();

private:
    QSettings _settings;
};

#endif
