// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_HOSTAPPLICATION_P_H
#define CORVANE_HOSTAPPLICATION_P_H

#include "hostapplication.h"
#include "sampleplant.h"

#include <corvanemoduleentry.h>

#include <QtCore/QPointer>
#include <QtQml/QQmlApplicationEngine>

struct HostApplication::Private
{
    HostOptions options;
    QStringList notices;
    QString saveProblem; // the notice of it, until the document was saved
    std::unique_ptr<SamplePlant> plant;
    std::unique_ptr<QQmlApplicationEngine> engine;
    QPointer<CorvaneModuleEntry> currentEntry;
    bool isStarted = false;
};

#endif
