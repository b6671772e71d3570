// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "options.h"
#include "scenes.h"

/// Draws scenes into files.
class Drawing
{
public:
    explicit Drawing(const PictureOptions& options);

    /// One scene in every theme asked for.
    void draw(const Scene& scene);

    int count() const { return _count; }
    /// What is wrong with the pictures, or came up while they were made: a sentence each, with the picture's name.
    QStringList faults() const { return _faults; }

private:
    void _fault(const QString& picture, const QStringList& faults);

    PictureOptions _options;
    int _count = 0;
    QStringList _faults;
};
