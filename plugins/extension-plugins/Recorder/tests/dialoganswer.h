// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>

#include <functional>

/// Answers the next file dialog from a timer, as a person would, and remembers how it looked. The program must not use
/// native dialogs.
class DialogAnswer
{
public:
    /// A null path cancels. `meanwhile` runs while the dialog is open, before the answer.
    explicit DialogAnswer(const QString& path, const std::function<void()>& meanwhile = {})
    {
        QObject::connect(&_timer, &QTimer::timeout, [this, path, meanwhile] {
            auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!dialog) {
                return;
            }
            _timer.stop();
            title = dialog->windowTitle();
            folder = dialog->directory().absolutePath();
            selectedFiles = dialog->selectedFiles();
            nameFilters = dialog->nameFilters();
            parentWidget = dialog->parentWidget();
            wasAsked = true;
            dialog->setOption(QFileDialog::DontConfirmOverwrite);
            if (!path.isNull()) {
                // selectFile() leaves the name alone while it has the focus.
                dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
            }
            if (meanwhile) {
                meanwhile();
            }
            QMetaObject::invokeMethod(dialog, path.isNull() ? "reject" : "accept");
        });
        _timer.start(10);
    }

    QString title;
    QString folder;
    QStringList selectedFiles;
    QStringList nameFilters;
    QWidget* parentWidget = nullptr;
    bool wasAsked = false;

private:
    QTimer _timer;
};
