// SPDX-License-Identifier: Apache-2.0
#include "storedfilters.h"

#include "../filters/recordingfilter.h"

#include <QDebug>
#include <QFile>
#include <QSaveFile>

namespace recorder {

StoredFilters::StoredFilters(const QString& path)
    : _path(path)
{
    QFile file(path);
    if (!file.exists()) {
        return;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        qWarning().noquote() << "The record filters in" << path << "cannot be read:" << file.errorString();
        return;
    }
    const QByteArray bytes = file.readAll();
    RecordingFilter filter;
    std::string reason;
    if (!RecordingFilter::parse(bytes.toStdString(), filter, reason)) {
        qWarning().noquote() << "The record filters in" << path << "are not used:" << QString::fromStdString(reason);
        return;
    }
    _text = QString::fromUtf8(bytes);
}

QString StoredFilters::accept(const QString& text)
{
    RecordingFilter filter;
    std::string reason;
    if (!RecordingFilter::parse(text.toStdString(), filter, reason)) {
        return QString::fromStdString(reason);
    }
    _text = text;
    QSaveFile file(_path);
    const QByteArray bytes = text.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        qWarning().noquote() << "The record filters hold until this recorder ends: they cannot be kept in" << _path
                             << ":" << file.errorString();
    }
    return {};
}

} // namespace recorder
