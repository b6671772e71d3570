// SPDX-License-Identifier: Apache-2.0
#include "tourcontext.h"

#include "../hostapplication.h"
#include "../windowpicture.h"

#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

namespace tour {

namespace {

constexpr int answerBoundMs = 5000;

// Not findChild(): what a page makes by itself has its place among the items only.
QQuickItem* findItem(QQuickItem* item, const QString& name)
{
    if (item->objectName() == name) {
        return item;
    }
    const QList<QQuickItem*> children = item->childItems();
    for (QQuickItem* child : children) {
        if (QQuickItem* found = findItem(child, name)) {
            return found;
        }
    }
    return nullptr;
}

} // namespace

TourContext::TourContext(HostApplication& application, const TourOptions& tourOptions)
    : host(application)
    , options(tourOptions)
    , output(tourOptions.outputDirectory)
{
}

bool TourContext::showTab(Tab tab) const
{
    const int index = static_cast<int>(tab) - 1;
    QQuickItem* tabs
        = host.window() == nullptr ? nullptr : findItem(host.window()->contentItem(), QStringLiteral("recorderTabs"));
    return tabs != nullptr && tabs->property("count").toInt() > index && tabs->setProperty("currentIndex", index);
}

void TourContext::screenshot(const QString& name, Tab tab)
{
    const QString file = path(QStringLiteral("%1-%2.png").arg(screenshots.size() + 1).arg(name));
    QString error;
    if (host.window() == nullptr) {
        screenshotFaults.append(QStringLiteral("%1: there is no window").arg(name));
        return;
    }
    if (tab != Tab::Current && !showTab(tab)) {
        screenshotFaults.append(QStringLiteral("%1: the page has no such tab").arg(name));
    }
    if (!host.screenshot(file, &error)) {
        screenshotFaults.append(QStringLiteral("%1: %2").arg(name, error));
        return;
    }
    if (WindowPicture::isBlank(QImage(file))) {
        screenshotFaults.append(QStringLiteral("%1: the picture is blank").arg(name));
    }
    screenshots.append(file);
}

bool TourContext::comesToList(const SignalCounter& lists, const std::function<bool()>& isShown)
{
    const int before = hasDatabase() ? lists.count() : 0;
    if (!lists.isConnected() || (hasDatabase() && !instance.call("getRecords", { QString() }).isEmpty())) {
        return false;
    }
    return waitUntil([&] { return lists.count() > before && isShown(); }, answerBoundMs);
}

bool TourContext::isListed(const ObjectHandle& listed) const
{
    return !listed.isNull() && instance.items("records").contains(listed);
}

} // namespace tour
