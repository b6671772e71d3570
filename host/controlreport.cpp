// SPDX-License-Identifier: Apache-2.0
#include "controlreport.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QSaveFile>
#include <QtGui/QAccessible>
#include <QtGui/QGuiApplication>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtWidgets/QApplication>
#include <QtWidgets/QWidget>

namespace {

constexpr int lookEveryMs = 40;

QString labelOf(QObject* object)
{
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(object);
    return accessible && accessible->isValid() ? accessible->text(QAccessible::Name) : QString();
}

QJsonArray toJson(const QRectF& rectangle, qreal pixelRatio)
{
    const QRect pixels((rectangle.topLeft() * pixelRatio).toPoint(), (rectangle.size() * pixelRatio).toSize());
    return { pixels.x(), pixels.y(), pixels.width(), pixels.height() };
}

QString typeOf(const QObject* object)
{
    return QString::fromLatin1(object->metaObject()->className()).section(QLatin1String("_QML"), 0, 0);
}

// A row that a list put aside to use it again: not drawn, yet neither invisible nor out of the way.
bool isPutAside(const QQuickItem* item)
{
    const QQuickItem* content = item->parentItem();
    const QQuickItem* list = content ? content->parentItem() : nullptr;
    if (!list || !list->inherits("QQuickItemView")) {
        return false;
    }
    const QVariant row = item->property("index");
    return row.isValid() && row.toInt() < 0;
}

// The controls of one window, parents before children.
class WindowReader
{
public:
    WindowReader(const QWindow* window, QJsonArray* controls)
        : _origin(window->position())
        , _pixelRatio(window->devicePixelRatio())
        , _controls(controls)
    {
    }

    // `seen` is the part of the window, in its coordinates, that the item's ancestors leave.
    void read(QQuickItem* item, QRectF seen)
    {
        if (!item->isVisible() || item->opacity() <= 0 || isPutAside(item)) {
            return;
        }
        const QRectF own = item->mapRectToScene(QRectF(0, 0, item->width(), item->height()));
        const QRectF shown = own & seen;
        if (shown.width() >= 1 && shown.height() >= 1) {
            _add(item, shown, item->isEnabled(), item->hasActiveFocus());
        }
        if (item->clip()) {
            seen = shown;
        }
        const auto children = item->childItems();
        for (QQuickItem* child : children) {
            read(child, seen);
        }
    }

    void read(QWidget* widget, const QWidget* window)
    {
        if (!widget->isVisible() || (widget->isWindow() && widget != window)) {
            return;
        }
        const QRectF shown(widget->mapTo(window, QPoint(0, 0)), widget->size());
        _add(widget, shown & QRectF(window->rect()), widget->isEnabled(), widget->hasFocus());
        const auto children = widget->findChildren<QWidget*>(Qt::FindDirectChildrenOnly);
        for (QWidget* child : children) {
            read(child, window);
        }
    }

private:
    void _add(QObject* object, const QRectF& shown, bool isEnabled, bool hasFocus)
    {
        const QString label = labelOf(object);
        // What is shown of a choice is not its text.
        const QVariant chosen = object->property("displayText");
        const QString text = (chosen.isValid() ? chosen : object->property("text")).toString();
        if (object->objectName().isEmpty() && label.isEmpty() && text.isEmpty()) {
            return;
        }
        QJsonObject control { { "name", object->objectName() }, { "label", label }, { "text", text },
            { "type", typeOf(object) }, { "rect", toJson(shown.translated(_origin), _pixelRatio) },
            { "enabled", isEnabled }, { "focused", hasFocus } };
        const QVariant checked = object->property("checked");
        if (checked.isValid()) {
            control.insert("checked", checked.toBool());
        }
        _controls->append(control);
    }

    QPointF _origin;
    qreal _pixelRatio;
    QJsonArray* _controls;
};

} // namespace

ControlReport::ControlReport(const QString& path, QObject* parent)
    : QObject(parent)
    , _path(path)
{
    // Nobody fills in the accessible names until somebody asks for them.
    QAccessible::setActive(true);
    connect(&_timer, &QTimer::timeout, this, &ControlReport::_write);
    _timer.start(lookEveryMs);
}

QByteArray ControlReport::content()
{
    QJsonArray windows;
    QJsonArray controls;
    const auto all = QGuiApplication::topLevelWindows();
    for (QWindow* window : all) {
        if (!window->isVisible()) {
            continue;
        }
        QWidget* widget = nullptr;
        const auto widgets = QApplication::topLevelWidgets();
        for (QWidget* one : widgets) {
            if (one->windowHandle() == window) {
                widget = one;
            }
        }
        windows.append(QJsonObject { { "title", window->title() }, { "type", widget ? typeOf(widget) : typeOf(window) },
            { "rect", toJson(window->geometry(), window->devicePixelRatio()) }, { "active", window->isActive() } });
        WindowReader reader(window, &controls);
        if (auto* quick = qobject_cast<QQuickWindow*>(window)) {
            reader.read(quick->contentItem(), QRectF(QPointF(0, 0), quick->size()));
        } else if (widget) {
            reader.read(widget, widget);
        }
    }
    return QJsonDocument(QJsonObject { { "windows", windows }, { "controls", controls } }).toJson();
}

void ControlReport::_write()
{
    const QByteArray seen = content();
    if (seen == _written) {
        return;
    }
    QSaveFile file(_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(seen) != seen.size() || !file.commit()) {
        _timer.stop();
        Q_EMIT failed(tr("The controls cannot be reported to %1: %2.").arg(_path, file.errorString()));
        return;
    }
    _written = seen;
}
