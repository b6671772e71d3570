// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_WITHDISPLAY_HAND_H
#define TESTS_WITHDISPLAY_HAND_H

#include <QtCore/QPoint>
#include <QtCore/QString>
#include <QtCore/QStringList>

// The mouse and the keyboard of a display. Each function returns when the display took the events; what goes wrong
// is a warning, which fails the test.
class Hand
{
public:
    explicit Hand(const QString& display)
        : _display(display)
    {
    }

    void moveTo(const QPoint& point);
    void press();
    void release();
    void click(const QPoint& point);
    // By X names, as in "ctrl+a".
    void key(const QString& combination);
    void type(const QString& text);

private:
    void _do(const QStringList& arguments);

    QString _display;
};

#endif
