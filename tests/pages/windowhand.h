// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "modulefixture.h"

#include <QtCore/QMimeData>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>

/// A window of pages, and what a person does to it.
///
/// Things are found by their object names among what is shown. A name may stand for several, one in every row: they
/// count from the top. "recorderInstance/connectButton" is a connectButton within a recorderInstance. What is not there
/// is warned of, which fails a test, and is an item of no size that does nothing.
class WindowHand
{
public:
    virtual ~WindowHand() = default;

    // ---- what there is

    QQuickItem* item(const QString& path, int index = 0) const;
    QList<QQuickItem*> items(const QString& path) const;
    bool isShown(const QString& path) const { return !items(path).isEmpty(); }
    QVariant property(const QString& path, const char* name, int index = 0) const;
    QString text(const QString& path, int index = 0) const { return property(path, "text", index).toString(); }
    /// Of every item with this name, from the top.
    QStringList texts(const QString& path) const;
    /// Of a button, a field or a box: it can be used now.
    bool isAvailable(const QString& path, int index = 0) const;
    /// What the pointer is told.
    QString hint(const QString& path, int index = 0) const { return property(path, "hintText", index).toString(); }
    /// The nearest name around what has the keyboard.
    QString focus() const;

    // ---- what a person does

    void click(const QString& path, int index = 0, Qt::KeyboardModifiers modifiers = {});
    void doubleClick(const QString& path, int index = 0);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    /// Letters, one key each, to what has the keyboard.
    void type(const QString& text);
    /// Puts the keyboard into a field and a text in place of its own; `end` says that typing ended.
    void fill(const QString& path, const QString& text, bool end = true);
    void focusOn(const QString& path, int index = 0);
    /// The middle of something, in the window.
    QPoint middle(const QString& path, int index = 0) const;

    /// Drags something over the middle of an item; whether it is taken.
    bool drag(const QString& path, const QList<QUrl>& urls);
    /// Whether something that is dragged over the middle of an item is taken; what the page says of it meanwhile is
    /// in dropText. Then it is dropped.
    bool drop(const QString& path, const QList<QUrl>& urls);
    QString dropText;

    /// Lets what was set off happen.
    static void settle() { ModuleFixture::settle(); }

protected:
    WindowHand() = default;
    Q_DISABLE_COPY_MOVE(WindowHand)

    virtual QQuickWindow& shownWindow() const = 0;

private:
    QQuickItem _nothing;
    QMimeData _dragged;
};
