// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_WITHDISPLAY_DISPLAY_H
#define TESTS_WITHDISPLAY_DISPLAY_H

#include <QtCore/QProcess>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtGui/QImage>

// A display that nobody sees, under a number that no other display has; it ends with this object.
class UnseenDisplay
{
public:
    // `folder`: where the display keeps its picture.
    UnseenDisplay(const QSize& size, const QString& folder);
    ~UnseenDisplay();
    Q_DISABLE_COPY_MOVE(UnseenDisplay)

    // False with a sentence in *error when there is no such program or it does not come up.
    bool start(QString* error);
    // As the environment variable DISPLAY wants it.
    QString name() const { return _name; }
    // What is on it now. Null when that cannot be read.
    QImage picture() const;

private:
    QSize _size;
    QString _folder;
    QString _name;
    QProcess _server;
};

#endif
