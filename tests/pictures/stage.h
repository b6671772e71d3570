// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scenes.h"
#include "windowhand.h"

#include <hostapplication.h>

#include <QtCore/QTemporaryDir>

#include <functional>

/// The host's own window with the sample system and the module, on a network that is played, for one scene. Needs the
/// application object and the module's plugin, registered.
class Stage : public WindowHand
{
public:
    enum Tab
    {
        Configuration,
        Records,
        File
    };

    explicit Stage(QSize windowSize);
    ~Stage() override;

    HostApplication& host() { return _host; }
    RecorderModule& module() const;
    QQuickWindow& window() const { return shownWindow(); }

    /// What goes on while somebody looks; called before each picture.
    std::function<void()> meanwhile;
    /// How warnings begin that belong to the scene.
    QStringList announcedWarnings;
    /// A folder for files of the scene.
    QString folder() const { return _folder.path(); }

    // ---- who is there

    /// An agent of the document, by its name.
    SystemViewClassInstance* instance(const QString& name) const;
    /// It enters the network; from another machine when one is named.
    void run(const QString& name, const QString& machine = QString());
    /// One that the document does not know.
    static void runStranger(const QString& name, const QString& machine, bool isStandIn = false);
    /// A recorder of the document by its name; the one of the sample system unless named.
    RecorderInstance* recorder(const QString& name = QStringLiteral("Plant recorder")) const;
    /// One more, with these options after its name, on a machine of that name when one is given.
    RecorderInstance* addRecorder(const QString& name, const QStringList& options, const QString& machine = QString());
    /// One more launch line of a recorder that is there.
    void addLaunchLine(const QString& name, const QStringList& options, const QString& machine = QString());
    /// It runs and has answered its first questions.
    static ScriptedRecorder started(RecorderInstance* recorder);

    // ---- what is shown

    void showRecorders() { _host.showModule(QStringLiteral("recordAndReplay")); }
    void open(RecorderInstance* recorder, Tab tab);
    /// Lists make their rows bit by bit.
    void waitForRows() const;
    /// Leaves the pointer there until its hint is shown.
    void pointAt(const QString& path, int index = 0);

protected:
    QQuickWindow& shownWindow() const override { return *_host.window(); }

private:
    QTemporaryDir _folder;
    HostApplication _host;
};
