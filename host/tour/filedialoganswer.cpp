// SPDX-License-Identifier: Apache-2.0
#include "filedialoganswer.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>

namespace tour {

namespace {

constexpr int lookEveryMs = 30;
constexpr int giveUpAfterMs = 5000;

} // namespace

FileDialogAnswer::FileDialogAnswer(const QString& path)
    : _path(path)
{
    _elapsed.start();
    connect(&_timer, &QTimer::timeout, this, &FileDialogAnswer::_look);
    _timer.start(lookEveryMs);
}

void FileDialogAnswer::_look()
{
    if (auto* complaint = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
        // The dialog does not take the path, and says so.
        _isRefused = true;
        _isAnswered = false;
        complaint->reject();
        return;
    }
    auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr || !dialog->isVisible()) {
        return;
    }
    auto* nameField = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    if (nameField == nullptr || _isRefused || _elapsed.elapsed() > giveUpAfterMs) {
        _isAnswered = false;
        dialog->reject();
        return;
    }
    _title = dialog->windowTitle();
    _isAnswered = true;
    nameField->setText(_path);
    // QFileDialog::accept() is protected, but it is the slot behind the dialog's button. Queued, because a timer does
    // not fire again while its slot runs, and accept() may open a box that is to be answered.
    QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
}

} // namespace tour
