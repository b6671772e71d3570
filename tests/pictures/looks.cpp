// SPDX-License-Identifier: Apache-2.0
#include "looks.h"

#include <QtCore/QHash>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

#include <algorithm>
#include <cmath>

namespace {

constexpr double LEAST_CONTRAST = 4.5;
/// Of a line of text, in pixels: letters may reach over their place by a little.
constexpr double TOLERANCE = 1.5;

struct ShownText
{
    QQuickItem* item = nullptr;
    QString text;
    /// Where its letters are, in the window.
    QRectF place;
    /// 1 where nothing dims it.
    double opacity = 1;
    /// What it lies in: the page, a popup, or a layer over the page.
    const QQuickItem* layer = nullptr;
};

bool isText(const QQuickItem* item)
{
    return item->inherits("QQuickText");
}

/// Layers over a page that leave what is under them to be seen, but not to be read.
bool isCover(const QQuickItem* item)
{
    static const QStringList names { QStringLiteral("progressFeedback"), QStringLiteral("busyFeedback"),
        QStringLiteral("dropOverlay") };
    return names.contains(item->objectName());
}

bool isLayer(const QQuickItem* item)
{
    return isCover(item) || item->inherits("QQuickPopupItem");
}

QRectF lettersOf(const QQuickItem* item)
{
    const double width = std::min(item->property("contentWidth").toDouble(), item->width());
    const double height = item->property("contentHeight").toDouble();
    double x = 0;
    double y = 0;
    switch (item->property("effectiveHorizontalAlignment").toInt()) {
    case Qt::AlignRight:
        x = item->width() - width;
        break;
    case Qt::AlignHCenter:
        x = (item->width() - width) / 2;
        break;
    default:
        x = item->property("leftPadding").toDouble();
    }
    switch (item->property("verticalAlignment").toInt()) {
    case Qt::AlignBottom:
        y = item->height() - height;
        break;
    case Qt::AlignVCenter:
        y = (item->height() - height) / 2;
        break;
    default:
        y = item->property("topPadding").toDouble();
    }
    return item->mapRectToScene(QRectF(x, y, width, height));
}

void collect(QQuickItem* within, double opacity, const QQuickItem* layer, QList<ShownText>& texts)
{
    const QList<QQuickItem*> children = within->childItems();
    for (QQuickItem* const child : children) {
        // A list keeps rows for later, which have no place in it.
        if (!child->isVisible() || child->property("index") == -1) {
            continue;
        }
        const double shown = opacity * child->opacity();
        const QString text = isText(child) ? child->property("text").toString() : QString();
        if (shown > 0 && !text.trimmed().isEmpty()) {
            texts.append({ child, text, lettersOf(child), shown, layer });
        }
        collect(child, shown, isLayer(child) ? child : layer, texts);
    }
}

/// The pointer is told the whole text: the item or what it is part of has a hint.
bool hasHint(const QQuickItem* item)
{
    for (; item; item = item->parentItem()) {
        if (QByteArrayView(item->metaObject()->className()).startsWith("ForeignText")
            || !item->property("hintText").toString().isEmpty()) {
            return true;
        }
    }
    return false;
}

/// The part of the window in which the item can be seen: lists clip what they hold.
QRectF visiblePart(const QQuickItem* item, const QRectF& window)
{
    QRectF visible = window;
    for (item = item->parentItem(); item; item = item->parentItem()) {
        if (item->clip()) {
            visible &= item->mapRectToScene(QRectF(QPointF(), item->size()));
        }
    }
    return visible;
}

bool isScrolled(const QQuickItem* item)
{
    for (; item; item = item->parentItem()) {
        if (item->inherits("QQuickFlickable")) {
            return true;
        }
    }
    return false;
}

QString cutOff(const ShownText& shown, const QRectF& window)
{
    const QQuickItem* const item = shown.item;
    if (item->property("truncated").toBool()) {
        return hasHint(item) ? QString() : QStringLiteral("is cut off, and no hint tells it");
    }
    if (item->property("contentWidth").toDouble() > item->width() + TOLERANCE) {
        return QStringLiteral("sticks out of its place by %1 pixels")
            .arg(item->property("contentWidth").toDouble() - item->width());
    }
    const QRectF visible = visiblePart(item, window);
    if (visible.isEmpty() && isScrolled(item)) {
        return QString(); // somebody has to scroll to see it
    }
    if (shown.place.left() < visible.left() - TOLERANCE || shown.place.right() > visible.right() + TOLERANCE) {
        return QStringLiteral("is cut off at the side");
    }
    const bool isBeyond
        = shown.place.top() < visible.top() - TOLERANCE || shown.place.bottom() > visible.bottom() + TOLERANCE;
    return isBeyond && !isScrolled(item) ? QStringLiteral("is cut off above or below") : QString();
}

double luminance(const QColor& colour)
{
    const auto linear
        = [](double part) { return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

/// What most of the place looks like.
QColor ground(const QImage& picture, const QRect& place)
{
    QHash<QRgb, int> counts;
    for (int y = place.top(); y <= place.bottom(); ++y) {
        for (int x = place.left(); x <= place.right(); ++x) {
            ++counts[picture.pixel(x, y)];
        }
    }
    const auto most = std::max_element(counts.keyValueBegin(), counts.keyValueEnd(),
        [](const auto& one, const auto& other) { return one.second < other.second; });
    return most == counts.keyValueEnd() ? QColor() : QColor((*most).first);
}

QString lowContrast(const ShownText& shown, const QRectF& window, const QImage& picture)
{
    // What is not available is pale on purpose.
    if (shown.opacity < 0.99) {
        return {};
    }
    const double scale = picture.width() / window.width();
    const QRectF seen = shown.place & visiblePart(shown.item, window);
    const QRect place = QRectF(seen.topLeft() * scale, seen.size() * scale).toRect() & picture.rect();
    if (place.width() < 4 || place.height() < 4) {
        return {};
    }
    const double found = Looks::contrast(shown.item->property("color").value<QColor>(), ground(picture, place));
    return found < LEAST_CONTRAST ? QStringLiteral("has a contrast of %1:1 only").arg(found, 0, 'f', 1) : QString();
}

QString overlap(const ShownText& shown, const QList<ShownText>& others, const QRectF& window)
{
    const QRectF place = shown.place & visiblePart(shown.item, window);
    for (const ShownText& other : others) {
        const QRectF common = place & other.place & visiblePart(other.item, window);
        if (other.item != shown.item && other.layer == shown.layer && common.width() > TOLERANCE
            && common.height() > 2 * TOLERANCE && shown.item < other.item) {
            return QStringLiteral("lies over \"%1\"").arg(other.text);
        }
    }
    return {};
}

} // namespace

QStringList Looks::faults(QQuickWindow& window, const QImage& picture)
{
    QList<ShownText> texts;
    collect(window.contentItem(), 1, nullptr, texts);
    // Under a cover or a question the page is dimmed: only what is in front is to be read.
    const bool isDimmed = std::ranges::any_of(texts, [](const ShownText& shown) { return shown.layer != nullptr; });
    const QRectF bounds(QPointF(), window.size());
    QStringList faults;
    for (const ShownText& shown : std::as_const(texts)) {
        QStringList problems { cutOff(shown, bounds), overlap(shown, texts, bounds) };
        if (!isDimmed || shown.layer) {
            problems.append(lowContrast(shown, bounds, picture));
        }
        for (const QString& problem : std::as_const(problems)) {
            if (!problem.isEmpty()) {
                faults.append(QStringLiteral("\"%1\" (%2) %3").arg(shown.text, shown.item->objectName(), problem));
            }
        }
    }
    return faults;
}

double Looks::contrast(const QColor& one, const QColor& other)
{
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}
