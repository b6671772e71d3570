// SPDX-License-Identifier: Apache-2.0
#include "pages.h"

#include "pagesprogram.h"

#include <networkconfiguration.h>

#include <QtCore/QMimeData>
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

} // namespace

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

// ---- what there is ----------------------------------------------------------------------------------------------

QList<QQuickItem*> Pages::items(const QString& path) const
{
    // Lists and layouts make and place their items before the next frame.
    const_cast<QQuickView&>(window).grabWindow();
    QList<QQuickItem*> within { window.contentItem() };
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

QQuickItem* Pages::item(const QString& path, int index) const
{
    const QList<QQuickItem*> found = items(path);
    if (index >= found.size()) {
        const QString what = QStringLiteral("%1 of %2 named %3").arg(index).arg(found.size()).arg(path);
        QTest::qFail(qPrintable(what), __FILE__, __LINE__);
        return const_cast<QQuickItem*>(&_nothing);
    }
    return found.at(index);
}

QVariant Pages::property(const QString& path, const char* name, int index) const
{
    return item(path, index)->property(name);
}

QStringList Pages::texts(const QString& path) const
{
    QStringList texts;
    const QList<QQuickItem*> found = items(path);
    for (const QQuickItem* const item : found) {
        texts.append(item->property("text").toString());
    }
    return texts;
}

bool Pages::isAvailable(const QString& path, int index) const
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

QString Pages::focus() const
{
    for (const QQuickItem* item = window.activeFocusItem(); item; item = item->parentItem()) {
        if (!item->objectName().isEmpty()) {
            return item->objectName();
        }
    }
    return QString();
}

QPoint Pages::middle(const QString& path, int index) const
{
    const QQuickItem* const found = item(path, index);
    return found->mapToScene(QPointF(found->width() / 2, found->height() / 2)).toPoint();
}

// ---- what a person does -----------------------------------------------------------------------------------------

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

void Pages::click(const QString& path, int index, Qt::KeyboardModifiers modifiers)
{
    QTest::mouseClick(&window, Qt::LeftButton, modifiers, middle(path, index));
    settle();
}

void Pages::doubleClick(const QString& path, int index)
{
    QTest::mouseDClick(&window, Qt::LeftButton, {}, middle(path, index));
    settle();
}

void Pages::key(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(&window, key, modifiers);
    settle();
}

void Pages::type(const QString& text)
{
    for (const QChar letter : text) {
        QTest::sendKeyEvent(QTest::Click, &window, Qt::Key_unknown, QString(letter), Qt::NoModifier);
    }
    settle();
}

void Pages::fill(const QString& path, const QString& text, bool end)
{
    focusOn(path);
    QTest::keySequence(&window, QKeySequence::SelectAll);
    key(Qt::Key_Delete);
    type(text);
    if (end) {
        key(Qt::Key_Return);
    }
}

void Pages::focusOn(const QString& path, int index)
{
    item(path, index)->forceActiveFocus(Qt::TabFocusReason);
    settle();
}

bool Pages::drop(const QString& path, const QList<QUrl>& urls)
{
    const QPoint place = middle(path);
    QMimeData data;
    data.setUrls(urls);
    constexpr Qt::DropActions ACTIONS = Qt::CopyAction | Qt::LinkAction;
    QDragEnterEvent enter(place, ACTIONS, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    QDragMoveEvent move(place, ACTIONS, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &move);
    dropText = isShown(QStringLiteral("dropOverlay")) ? text(QStringLiteral("dropText")) : QString();
    if (!move.isAccepted()) {
        QDragLeaveEvent leave;
        QCoreApplication::sendEvent(&window, &leave);
        return false;
    }
    QDropEvent drop(place, ACTIONS, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &drop);
    settle();
    return drop.isAccepted() && drop.dropAction() == Qt::LinkAction;
}
