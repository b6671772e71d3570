// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_WINDOWPICTURE_H
#define CORVANE_WINDOWPICTURE_H

#include <QtCore/QString>
#include <QtGui/QImage>

class QQuickWindow;

// Pictures of a window as a person sees it: screenshots, those of the tour, and those of every page and state. On the
// main thread.
namespace WindowPicture {

// Where there is no graphics card to draw with, windows that are made after this are drawn without one: the same
// picture on every machine.
void drawWithoutGraphicsCard();

// Spins the event loop until nothing was drawn for a moment; what moves all the time is waited for up to two seconds.
void settle(QQuickWindow& window);

// Draws the window as it is now; null when that is not possible.
QImage draw(QQuickWindow& window);

// An empty page has hardly any colours; this is what tells a picture from a blank.
bool isBlank(const QImage& picture);

// As a PNG file.
bool write(const QImage& picture, const QString& path);

} // namespace WindowPicture

#endif
