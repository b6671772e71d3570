// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_WITHDISPLAY_SHOWNWINDOW_H
#define TESTS_WITHDISPLAY_SHOWNWINDOW_H

#include <QtCore/QList>
#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

// One thing that can be seen in a window of the host.
struct Control
{
    QString name;
    QString text;
    QString type;
    QRect rectangle; // on the screen
    bool isEnabled = false;
    bool isChecked = false;

    QPoint middle() const { return rectangle.center(); }
};

// What the host reports of its windows (its option --report-controls).
class ShownWindow
{
public:
    explicit ShownWindow(const QString& reportFile)
        : _reportFile(reportFile)
    {
    }

    // As the file stands now; nothing when there is none yet.
    QList<Control> controls() const;
    // The first that matches, parents before children; null when there is none. An empty text matches any.
    std::optional<Control> named(const QString& name, const QString& text = {}) const;
    std::optional<Control> withText(const QString& text) const;
    std::optional<Control> ofType(const QString& type, const QString& text) const;
    // Of that name, in the same row as another control.
    std::optional<Control> beside(const QString& name, const Control& other) const;
    // The texts of all of that name, from top to bottom.
    QStringList textsOf(const QString& name) const;

private:
    template <typename Match> std::optional<Control> _first(Match match) const;

    QString _reportFile;
};

#endif
