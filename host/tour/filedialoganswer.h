// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_FILEDIALOGANSWER_H
#define CORVANE_TOUR_FILEDIALOGANSWER_H

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QTimer>

namespace tour {

// Answers the next file dialog with a path, as a person would who types it. The dialog must be Qt's own. A dialog that
// does not take the path is rejected after a while, so that nothing waits for ever.
class FileDialogAnswer : public QObject
{
    Q_OBJECT

public:
    explicit FileDialogAnswer(const QString& path);

    bool isAnswered() const { return _isAnswered; }
    QString title() const { return _title; } // of the dialog that was answered

private:
    void _look();

    QString _path;
    QString _title;
    QTimer _timer;
    QElapsedTimer _elapsed;
    bool _isAnswered = false;
    bool _isRefused = false;
};

} // namespace tour

#endif
