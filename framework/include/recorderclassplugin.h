// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "systemviewclassplugin.h"

/// Makes recorder instances: a new one gets a launch line for this machine (the recorder executable beside the host,
/// its name, the embedded store), so that it can be started without typing anything.
class CORVANE_EXPORT RecorderClassPlugin : public SystemViewClassPlugin
{
    Q_OBJECT

public:
    explicit RecorderClassPlugin(QObject* parent = nullptr);
    ~RecorderClassPlugin() override;

    QString familyUuid() const override;

    /// The application directory followed by /../agents/qnyRecorder/qnyRecorder: canonical, or only cleaned when the
    /// file is missing.
    static QString executablePath();
    /// Empty, or one sentence for the user: that the recorder executable is missing, where, and what to do.
    static QString executableProblem();
    static QString defaultCommandLine(const QString& name);
    /// With the built-in database of the recorder's machine.
    QString launchLine(const QString& program, const QString& name) const override;

protected:
    void initialise(SystemViewClassInstance* instance) const override;
};
