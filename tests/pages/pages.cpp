// SPDX-License-Identifier: Apache-2.0
#include "pages.h"

#include "pagesprogram.h"

#include <networkconfiguration.h>

Pages::Pages(Network network, QSize size)
    : module(fixture.module())
    , window(&PagesProgram::engine(), nullptr)
{
    if (network == Network::Joined) {
        NetworkConfiguration::instance()->connectToNetwork();
        settle();
    }
    window.setResizeMode(QQuickView::SizeRootObjectToView);
    window.setInitialProperties({ { QStringLiteral("corvaneModule"), QVariant::fromValue<QObject*>(&module) } });
    window.setSource(QUrl(QStringLiteral("qrc:/qml/RecordAndReplay/main.qml")));
    Q_ASSERT(window.status() == QQuickView::Ready);
    window.resize(size);
    window.show();
    window.requestActivate();
    Q_ASSERT(QTest::qWaitForWindowActive(&window));
    settle();
    QuenaryDouble::clearCalls();
}

Pages::~Pages()
{
    NetworkConfiguration::instance()->disconnectFromNetwork();
}

void Pages::open(RecorderInstance* instance, Tab tab)
{
    module.setcurrentRecorder(instance);
    settle();
    showTab(tab);
    QuenaryDouble::clearCalls();
}

void Pages::showTab(Tab tab)
{
    item(QStringLiteral("recorderTabs"))->setProperty("currentIndex", tab);
    settle();
}

void Pages::setPatience(int withSilence, int withProgress)
{
    const auto waysOut = window.rootObject()->findChildren<QQuickItem*>(QStringLiteral("wayOut"));
    Q_ASSERT(waysOut.size() == 2);
    for (QQuickItem* const wayOut : waysOut) {
        wayOut->setProperty("patience", withSilence);
        wayOut->setProperty("longPatience", withProgress);
    }
}
