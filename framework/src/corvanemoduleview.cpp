// SPDX-License-Identifier: Apache-2.0
#include "corvanemoduleview.h"

#include "corvanemodule.h"
#include "corvanemoduleentry.h"

#include <zqproperty.h>

#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>

namespace {

const QString MODULE_PROPERTY = QStringLiteral("corvaneModule");

} // namespace

CorvaneModuleView::CorvaneModuleView(QQuickItem* parent)
    : QQuickItem(parent)
{
}

CorvaneModuleView::~CorvaneModuleView()
{
    delete _pageItem;
}

CorvaneModuleEntry* CorvaneModuleView::entry() const
{
    return _entry;
}

void CorvaneModuleView::setentry(CorvaneModuleEntry* entry)
{
    if (_entry == entry) {
        return;
    }
    if (_entry != nullptr) {
        disconnect(_entry, nullptr, this, nullptr);
    }
    _entry = entry;
    if (_entry != nullptr) {
        connect(_entry, &CorvaneModuleEntry::moduleChanged, this, &CorvaneModuleView::_reload);
        connect(_entry, &CorvaneModuleEntry::qmlItemUrlChanged, this, &CorvaneModuleView::_reload);
        connect(_entry, &QObject::destroyed, this, [this] {
            _unload();
            Q_EMIT entryChanged();
        });
    }
    Q_EMIT entryChanged();
    _reload();
}

QQuickItem* CorvaneModuleView::pageItem() const
{
    return _pageItem;
}

QString CorvaneModuleView::errorText() const
{
    return _errorText;
}

void CorvaneModuleView::componentComplete()
{
    QQuickItem::componentComplete();
    _reload();
}

void CorvaneModuleView::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    _fitPage();
}

void CorvaneModuleView::_reload()
{
    if (!isComponentComplete()) {
        return;
    }
    _unload();
    if (_entry == nullptr || _entry->module() == nullptr) {
        return;
    }
    QQmlEngine* engine = qmlEngine(this);
    if (engine == nullptr) {
        _fail(tr("The page of %1 cannot be shown: this view belongs to no QML engine.").arg(_entry->name()));
        return;
    }
    QQmlComponent component(engine, _entry->qmlItemUrl());
    if (!component.isReady()) {
        _fail(tr("The page of %1 cannot be shown: %2").arg(_entry->name(), component.errorString().trimmed()));
        return;
    }
    CorvaneModule* module = _entry->module();
    auto* context = new QQmlContext(engine->rootContext());
    context->setContextObject(module);
    context->setContextProperty(MODULE_PROPERTY, module);
    QObject* object = component.beginCreate(context);
    if (object != nullptr) {
        context->setParent(object); // goes with its page
        if (object->metaObject()->indexOfProperty(MODULE_PROPERTY.toUtf8().constData()) >= 0) {
            component.setInitialProperties(object, { { MODULE_PROPERTY, QVariant::fromValue<QObject*>(module) } });
        }
    }
    // The page has its size and its window before its own code runs.
    auto* page = qobject_cast<QQuickItem*>(object);
    if (page != nullptr) {
        page->setParentItem(this);
        page->setParent(this);
        _pageItem = page;
        _fitPage();
    }
    if (object != nullptr) {
        component.completeCreate();
    } else {
        delete context;
    }
    if (page == nullptr || component.isError()) {
        const QString reason = component.isError() ? component.errorString().trimmed() : tr("its root is no Item");
        _pageItem = nullptr;
        delete object;
        _fail(tr("The page of %1 cannot be shown: %2").arg(_entry->name(), reason));
        return;
    }
    Q_EMIT pageItemChanged();
}

void CorvaneModuleView::_unload()
{
    ZqProperty::assign(this, _errorText, QString(), &CorvaneModuleView::errorTextChanged);
    if (_pageItem != nullptr) {
        QQuickItem* page = _pageItem;
        _pageItem = nullptr;
        Q_EMIT pageItemChanged();
        delete page; // at once: its bindings must not see the module go
    }
}

void CorvaneModuleView::_fail(const QString& errorText)
{
    qWarning("%s", qUtf8Printable(errorText));
    ZqProperty::assign(this, _errorText, errorText, &CorvaneModuleView::errorTextChanged);
}

void CorvaneModuleView::_fitPage()
{
    if (_pageItem != nullptr) {
        _pageItem->setPosition({ 0, 0 });
        _pageItem->setSize(size());
    }
}
