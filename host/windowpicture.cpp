// SPDX-License-Identifier: Apache-2.0
#include "windowpicture.h"

#include <QtCore/QEventLoop>
#include <QtCore/QSet>
#include <QtCore/QTimer>
#include <QtQuick/QQuickWindow>

void WindowPicture::drawWithoutGraphicsCard()
{
    // Too late once a window was drawn.
    if (const QString backend = QStringLiteral("software"); QQuickWindow::sceneGraphBackend() != backend) {
        QQuickWindow::setSceneGraphBackend(backend);
    }
}

void WindowPicture::settle(QQuickWindow& window)
{
    constexpr int quietMs = 300;
    constexpr int longestMs = 2000;
    QEventLoop loop;
    QTimer quiet;
    quiet.setSingleShot(true);
    quiet.setInterval(quietMs);
    QObject::connect(&quiet, &QTimer::timeout, &loop, &QEventLoop::quit);
    QObject::connect(&window, &QQuickWindow::frameSwapped, &quiet, qOverload<>(&QTimer::start));
    QTimer::singleShot(longestMs, &loop, &QEventLoop::quit);
    quiet.start();
    loop.exec();
}

QImage WindowPicture::draw(QQuickWindow& window)
{
    return window.grabWindow();
}

bool WindowPicture::isBlank(const QImage& picture)
{
    constexpr int least = 12;
    QSet<QRgb> colours;
    for (int y = 0; y < picture.height() && colours.size() < least; y += 3) {
        for (int x = 0; x < picture.width(); x += 3) {
            colours.insert(picture.pixel(x, y));
        }
    }
    return colours.size() < least;
}

bool WindowPicture::write(const QImage& picture, const QString& path)
{
    return picture.save(path, "PNG");
}
