// SPDX-License-Identifier: Apache-2.0
#include "tourcontext.h"

#include "../hostapplication.h"

#include <QtCore/QSet>
#include <QtGui/QImage>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

namespace tour {

namespace {

constexpr int answerBoundMs = 5000;

// The first visible item below this one whose class is a tab bar.
QQuickItem* findTabBar(QQuickItem* item)
{
    if (!item->isVisible()) {
        return nullptr;
    }
    for (const QMetaObject* type = item->metaObject(); type != nullptr; type = type->superClass()) {
        if (qstrcmp(type->className(), "QQuickTabBar") == 0) {
            return item;
        }
    }
    const QList<QQuickItem*> children = item->childItems();
    for (QQuickItem* child : children) {
        if (QQuickItem* found = findTabBar(child)) {
            return found;
        }
    }
    return nullptr;
}

// An empty page has hardly any colours; this is what tells a picture from a blank.
bool hasContent(const QImage& image)
{
    QSet<QRgb> colours;
    for (int y = 0; y < image.height() && colours.size() < 12; y += 3) {
        for (int x = 0; x < image.width(); x += 3) {
            colours.insert(image.pixel(x, y));
        }
    }
    return colours.size() >= 12;
}

} // namespace

TourContext::TourContext(HostApplication& application, const TourOptions& tourOptions)
    : host(application)
    , options(tourOptions)
    , output(tourOptions.outputDirectory)
{
}

void TourContext::screenshot(const QString& name, int tab)
{
    const QString file = path(QStringLiteral("%1-%2.png").arg(screenshots.size() + 1).arg(name));
    QString error;
    if (host.window() == nullptr) {
        screenshotFaults.append(QStringLiteral("%1: there is no window").arg(name));
        return;
    }
    if (tab >= 0) {
        QQuickItem* tabBar = nullptr;
        waitUntil([&] { return (tabBar = findTabBar(host.window()->contentItem())) != nullptr; }, 2000);
        if (tabBar != nullptr) {
            tabBar->setProperty("currentIndex", tab);
        } else {
            screenshotFaults.append(QStringLiteral("%1: the page shows no tabs").arg(name));
        }
    }
    if (!host.screenshot(file, &error)) {
        screenshotFaults.append(QStringLiteral("%1: %2").arg(name, error));
        return;
    }
    const QImage image(file);
    if (!hasContent(image)) {
        screenshotFaults.append(QStringLiteral("%1: the picture is blank").arg(name));
    }
    screenshots.append(file);
}

bool TourContext::refreshRecords()
{
    const SignalCounter answers(module, SIGNAL(recordsReceived(QString, QString)));
    if (!answers.isConnected() || !instance.call("getRecords", { QString() }).isEmpty()) {
        return false;
    }
    return waitUntil([&] { return answers.count() > 0; }, answerBoundMs);
}

bool TourContext::isListed(const ObjectHandle& listed) const
{
    return !listed.isNull() && instance.items("records").contains(listed);
}

} // namespace tour
