// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QList>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// What the command line of the picture command asks for.
struct PictureOptions
{
    /// Names of scenes; empty: every one.
    QStringList scenes;
    /// Of Theme::Light and Theme::Dark.
    QList<int> themes;
    QString language = QStringLiteral("en");
    /// Of a picture, in its own pixels.
    QSize size { 1280, 800 };
    /// Pixels of the picture for one of the window.
    double scale = 1;
    QString output = QStringLiteral("build/pictures");
    bool isList = false;
    bool isHelp = false;

    /// Of the window that is drawn.
    QSize windowSize() const { return (QSizeF(size) / scale).toSize(); }
};

/// Reads the arguments after the program's name. A sentence says what is wrong with them; empty: nothing is.
QString readPictureOptions(const QStringList& arguments, const QStringList& knownScenes, PictureOptions* options);

QString pictureHelp();
