// SPDX-License-Identifier: Apache-2.0
#include "display.h"

#include "processes.h"

#include <QtCore/QFile>
#include <QtCore/QtEndian>

namespace {

constexpr int startBoundMs = 20'000;

// Places of 32-bit numbers in the head of the X window dump that the display keeps its picture as.
enum DumpField
{
    HeadSize = 0,
    Width = 4,
    Height = 5,
    BitsPerPixel = 11,
    BytesPerLine = 12,
    ColourCount = 19,
    FieldCount = 25
};
constexpr qsizetype colourSize = 12;

} // namespace

UnseenDisplay::UnseenDisplay(const QSize& size, const QString& folder)
    : _size(size)
    , _folder(folder)
{
}

UnseenDisplay::~UnseenDisplay()
{
    end(&_server);
}

bool UnseenDisplay::start(QString* error)
{
    // It chooses a free number itself, and says which.
    _server.setStandardErrorFile(_folder + QStringLiteral("/display.log"));
    bind(&_server);
    _server.start(QStringLiteral("Xvfb"),
        { "-displayfd", "1", "-screen", "0", QStringLiteral("%1x%2x24").arg(_size.width()).arg(_size.height()),
            "-fbdir", _folder, "-nolisten", "tcp", "-noreset" });
    if (!_server.waitForStarted(startBoundMs)) {
        *error = QStringLiteral("Xvfb cannot be started: %1; scripts/setup installs it").arg(_server.errorString());
        return false;
    }
    while (!_server.canReadLine()) {
        if (!_server.waitForReadyRead(startBoundMs)) {
            *error = QStringLiteral("Xvfb does not come up: %1").arg(_server.errorString());
            return false;
        }
    }
    _name = QLatin1Char(':') + QString::fromLatin1(_server.readLine().trimmed());
    return true;
}

QImage UnseenDisplay::picture() const
{
    QFile file(_folder + QStringLiteral("/Xvfb_screen0"));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray dump = file.readAll();
    if (dump.size() < FieldCount * 4) {
        return {};
    }
    const auto field = [&dump](DumpField place) {
        return static_cast<qsizetype>(qFromBigEndian<quint32>(dump.constData() + place * 4));
    };
    const qsizetype pixels = field(HeadSize) + field(ColourCount) * colourSize;
    if (field(BitsPerPixel) != 32 || dump.size() < pixels + field(Height) * field(BytesPerLine)) {
        return {};
    }
    return QImage(reinterpret_cast<const uchar*>(dump.constData() + pixels), static_cast<int>(field(Width)),
        static_cast<int>(field(Height)), field(BytesPerLine), QImage::Format_RGB32)
        .copy();
}
