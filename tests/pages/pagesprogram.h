// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recorderplugin.h"

#include <QtQml/QQmlEngine>
#include <QtWidgets/QApplication>

/// What a program that shows the module's pages is made of: one, at the beginning of main(). Dialogs are Qt's own, so
/// that a program can answer them; nothing fades unless asked for; drawing needs no graphics card.
class PagesProgram
{
public:
    PagesProgram(int& argc, char** argv);
    ~PagesProgram();
    Q_DISABLE_COPY_MOVE(PagesProgram)

    /// One for all windows: pages are read once.
    static QQmlEngine& engine();

private:
    struct BeforeApplication
    {
        BeforeApplication();
    };

    BeforeApplication _beforeApplication;
    QApplication _application;
    RecorderPlugin _plugin;
    QQmlEngine _engine;
};
