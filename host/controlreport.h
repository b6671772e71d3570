// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_CONTROLREPORT_H
#define CORVANE_CONTROLREPORT_H

#include <QtCore/QByteArray>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QTimer>

// Says what can be seen and pressed in the windows of this process, for programs that work them from outside with the
// mouse and the keyboard. While this object lives, `path` holds a JSON object {"windows": […], "controls": […]},
// replaced as a whole a moment after anything in it changed. Main thread only.
//
// A window: "title", "type" (class), "rect", "active". A control: "name" (objectName), "label" (the accessible name),
// "text", "type", "rect", "enabled", "focused", and "checked" where it can be. A "rect" is [x, y, width, height] in
// device pixels of the screen, of the part that no list and no window cuts off; what has no such part is left out, and
// so is what has neither name nor label nor text.
class ControlReport : public QObject
{
    Q_OBJECT

public:
    explicit ControlReport(const QString& path, QObject* parent = nullptr);

    // What is seen now; the file holds the same.
    static QByteArray content();

Q_SIGNALS:
    // Once: there will be no reports.
    void failed(const QString& error);

private:
    void _write();

    QString _path;
    QByteArray _written;
    QTimer _timer;
};

#endif
