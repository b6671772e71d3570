// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "modulefixture.h"

#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickView>

/// The module's own pages in a window, on a network that is played, with what a person does to them. Needs a
/// PagesProgram.
///
/// Things are found by their object names among what is shown. A name may stand for several, one in every row: they
/// count from the top. "recorderInstance/connectButton" is a connectButton within a recorderInstance. What is not there
/// fails the test, and is an item of no size that does nothing.
class Pages
{
public:
    enum class Network
    {
        Left,
        Joined
    };
    enum Tab
    {
        Configuration,
        Records,
        File
    };

    static constexpr QSize USUAL_SIZE { 1048, 744 };

    explicit Pages(Network network = Network::Joined, QSize size = USUAL_SIZE);
    ~Pages();
    Q_DISABLE_COPY_MOVE(Pages)

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

    void open(RecorderInstance* instance, Tab tab);
    void showTab(Tab tab);
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

    /// Whether something that is dragged over the middle of an item is taken; what the page says of it meanwhile is
    /// in dropText. Then it is dropped.
    bool drop(const QString& path, const QList<QUrl>& urls);
    QString dropText;

    /// Lets what was set off happen.
    static void settle() { ModuleFixture::settle(); }

    ModuleFixture fixture;
    RecorderModule& module;
    QQuickView window;

private:
    QQuickItem _nothing;
};
