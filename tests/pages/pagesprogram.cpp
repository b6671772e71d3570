// SPDX-License-Identifier: Apache-2.0
#include "pagesprogram.h"

#include <corvaneqmltypes.h>
#include <theme.h>

#include <QtGui/QAccessible>
#include <QtQuick/QQuickWindow>
#include <QtQuickControls2/QQuickStyle>

namespace {

QQmlEngine* theEngine = nullptr;

}

PagesProgram::BeforeApplication::BeforeApplication()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QQuickStyle::setStyle(QStringLiteral("Basic"));
}

PagesProgram::PagesProgram(int& argc, char** argv)
    : _application(argc, argv)
{
    registerCorvaneQmlTypes();
    Theme::instance()->setreducedMotion(true);
    Theme::instance()->setmode(Theme::Light);
    QAccessible::setActive(true);
    theEngine = &_engine;
}

PagesProgram::~PagesProgram()
{
    theEngine = nullptr;
}

QQmlEngine& PagesProgram::engine()
{
    Q_ASSERT(theEngine);
    return *theEngine;
}
