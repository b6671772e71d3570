// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QPointer>
#include <QQuickItem>

class CorvaneModuleEntry;

/// Shows the main page of a module, filling itself with it.
///
/// The page is created in a context of its own in which the module is the context object, and also the context property
/// "corvaneModule". A page whose root declares a property of that name gets the module there (it may be required):
///
///     Item { required property RecorderModule corvaneModule }
class CORVANE_EXPORT CorvaneModuleView : public QQuickItem
{
    Q_OBJECT
    Q_MOC_INCLUDE("corvanemoduleentry.h")
    Q_PROPERTY(CorvaneModuleEntry* entry READ entry WRITE setentry NOTIFY entryChanged)
    Q_PROPERTY(QQuickItem* pageItem READ pageItem NOTIFY pageItemChanged)
    /// Why there is no page, in a sentence for the user; empty otherwise.
    Q_PROPERTY(QString errorText READ errorText NOTIFY errorTextChanged)

public:
    explicit CorvaneModuleView(QQuickItem* parent = nullptr);
    ~CorvaneModuleView() override;

    CorvaneModuleEntry* entry() const;
    void setentry(CorvaneModuleEntry* entry);
    QQuickItem* pageItem() const;
    QString errorText() const;

Q_SIGNALS:
    void entryChanged();
    void pageItemChanged();
    void errorTextChanged();

protected:
    void componentComplete() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

private:
    void _reload();
    void _unload();
    void _fail(const QString& errorText);
    void _fitPage();

    QPointer<CorvaneModuleEntry> _entry;
    QPointer<QQuickItem> _pageItem;
    QString _errorText;
};
