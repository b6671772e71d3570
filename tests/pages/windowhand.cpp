// SPDX-License-Identifier: Apache-2.0
#include "windowhand.h"

#include <QtGui/QDropEvent>

#include <algorithm>

namespace {

void collect(QQuickItem* within, const QString& name, QList<QQuickItem*>& found)
{
    const QList<QQuickItem*> children = within->childItems();
    for (QQuickItem* const child : children) {
        // A list keeps rows for later, which have no place in it.
        if (!child->isVisible() || child->property("index") == -1) {
            continue;
        }
        if (child->objectName() == name) {
            found.append(child);
        }
        collect(child, name, found);
    }
}

constexpr Qt::DropActions DRAG_ACTIONS = Qt::CopyAction | Qt::LinkAction;

bool dragOver(QQuickWindow& window, QPoint place, const QMimeData& data)
{
    QDragEnterEvent enter(place, DRAG_ACTIONS, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    QDragMoveEvent move(place, DRAG_ACTIONS, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &move);
    return move.isAccepted();
}

} // namespace

// ---- what there is ----------------------------------------------------------------------------------------------

QList<QQuickItem*> WindowHand::items(const QString& path) const
{
    // Lists and layouts make and place their items before the next frame.
    shownWindow().grabWindow();
    QList<QQuickItem*> within { shownWindow().contentItem() };
    const QStringList names = path.split(u'/');
    for (const QString& name : names) {
        QList<QQuickItem*> found;
        for (QQuickItem* const item : std::as_const(within)) {
            collect(item, name, found);
        }
        within = found;
    }
    std::stable_sort(within.begin(), within.end(), [](const QQuickItem* a, const QQuickItem* b) {
        const QPointF left = a->mapToScene({});
        const QPointF right = b->mapToScene({});
        return left.y() != right.y() ? left.y() < right.y() : left.x() < right.x();
    });
    return within;
}

QQuickItem* WindowHand::item(const QString& path, int index) const
{
    const QList<QQuickItem*> found = items(path);
    if (index >= found.size()) {
        qWarning("There is no item %d of %d named %s", index, int(found.size()), qPrintable(path));
        return const_cast<QQuickItem*>(&_nothing);
    }
    return found.at(index);
}

QVariant WindowHand::property(const QString& path, const char* name, int index) const
{
    return item(path, index)->property(name);
}

QStringList WindowHand::texts(const QString& path) const
{
    QStringList texts;
    const QList<QQuickItem*> found = items(path);
    for (const QQuickItem* const item : found) {
        texts.append(item->property("text").toString());
    }
    return texts;
}

bool WindowHand::isAvailable(const QString& path, int index) const
{
    const QQuickItem* const found = item(path, index);
    // The control inside is what can be pressed.
    for (const char* const inner : { "button", "field", "box", "slider" }) {
        if (const auto* const control = found->property(inner).value<QQuickItem*>()) {
            return control->isEnabled();
        }
    }
    return found->isEnabled();
}

QString WindowHand::focus() const
{
    for (const QQuickItem* item = shownWindow().activeFocusItem(); item; item = item->parentItem()) {
        if (!item->objectName().isEmpty()) {
            return item->objectName();
        }
    }
    return QString();
}

QPoint WindowHand::middle(const QString& path, int index) const
{
    const QQuickItem* const found = item(path, index);
    return found->mapToScene(QPointF(found->width() / 2, found->height() / 2)).toPoint();
}

// ---- what a person does -----------------------------------------------------------------------------------------

void WindowHand::click(const QString& path, int index, Qt::KeyboardModifiers modifiers)
{
    QTest::mouseClick(&shownWindow(), Qt::LeftButton, modifiers, middle(path, index));
    settle();
}

void WindowHand::doubleClick(const QString& path, int index)
{
    QTest::mouseDClick(&shownWindow(), Qt::LeftButton, {}, middle(path, index));
    settle();
}

void WindowHand::key(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(&shownWindow(), key, modifiers);
    settle();
}

void WindowHand::type(const QString& text)
{
    for (const QChar letter : text) {
        QTest::sendKeyEvent(QTest::Click, &shownWindow(), Qt::Key_unknown, QString(letter), Qt::NoModifier);
    }
    settle();
}

void WindowHand::fill(const QString& path, const QString& text, bool end)
{
    focusOn(path);
    QTest::keySequence(&shownWindow(), QKeySequence::SelectAll);
    key(Qt::Key_Delete);
    type(text);
    if (end) {
        key(Qt::Key_Return);
    }
}

void WindowHand::focusOn(const QString& path, int index)
{
    item(path, index)->forceActiveFocus(Qt::TabFocusReason);
    settle();
}

bool WindowHand::drag(const QString& path, const QList<QUrl>& urls)
{
    const QPoint place = middle(path);
    _dragged.setUrls(urls);
    return dragOver(shownWindow(), place, _dragged);
}

bool WindowHand::drop(const QString& path, const QList<QUrl>& urls)
{
    const bool isTaken = drag(path, urls);
    dropText = isShown(QStringLiteral("dropOverlay")) ? text(QStringLiteral("dropText")) : QString();
    if (!isTaken) {
        QDragLeaveEvent leave;
        QCoreApplication::sendEvent(&shownWindow(), &leave);
        return false;
    }
    QDropEvent drop(middle(path), DRAG_ACTIONS, &_dragged, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&shownWindow(), &drop);
    settle();
    return drop.isAccepted() && drop.dropAction() == Qt::LinkAction;
}
