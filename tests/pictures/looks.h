// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QStringList>
#include <QtGui/QColor>
#include <QtGui/QImage>

class QQuickWindow;

/// What can be seen to be wrong with a picture of a window without a person's eyes.
namespace Looks {

/// A sentence for each text that is cut off and told nowhere else, sticks out of its place or of the window, lies over
/// another one, or has a contrast of less than 4.5:1 to what is behind it. `picture` is of the window as it is now.
QStringList faults(QQuickWindow& window, const QImage& picture);

/// From 1 to 21, as web pages count it.
double contrast(const QColor& one, const QColor& other);

} // namespace Looks
