// SPDX-License-Identifier: Apache-2.0
#include "observerprocess.h"

#include "toursteps.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace tour {

namespace {

constexpr int startBoundMs = 10'000;
constexpr int stopBoundMs = 3'000;

} // namespace

ObserverProcess::ObserverProcess()
{
    _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
}

ObserverProcess::~ObserverProcess()
{
    stop();
}

bool ObserverProcess::start(const QString& program, const QString& rowsFile, const QStringList& maps, QString* error)
{
    if (!QFileInfo::exists(program)) {
        *error = QStringLiteral("the observing agent %1 is not there: build the target qnyTestObserver").arg(program);
        return false;
    }
    _rowsFile = rowsFile;
    QStringList arguments { QStringLiteral("--output"), rowsFile };
    for (const QString& map : maps) {
        arguments << QStringLiteral("--map") << map;
    }
    _process.start(program, arguments);
    waitUntil(
        [this] {
            _readOutput();
            return _isReady || _process.state() == QProcess::NotRunning;
        },
        startBoundMs);
    if (!_isReady) {
        *error = QStringLiteral("the observing agent %1 did not come up: %2").arg(program, _process.errorString());
        return false;
    }
    return true;
}

int ObserverProcess::liveMappings()
{
    _readOutput();
    return _liveMappings;
}

void ObserverProcess::_readOutput()
{
    while (_process.canReadLine()) {
        const QByteArray line = _process.readLine().trimmed();
        if (line == "ready") {
            _isReady = true;
        } else if (line.startsWith("live ")) {
            _liveMappings = line.mid(5).toInt();
        }
    }
}

bool ObserverProcess::read(QList<Observation>* observations, QString* error) const
{
    QFile file(_rowsFile);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1 cannot be read: %2").arg(_rowsFile, file.errorString());
        return false;
    }
    return readObservations(file.readAll(), observations, error);
}

void ObserverProcess::stop()
{
    if (_process.state() == QProcess::NotRunning) {
        return;
    }
    _process.closeWriteChannel(); // it ends when its input does
    if (!_process.waitForFinished(stopBoundMs)) {
        _process.kill();
        _process.waitForFinished(stopBoundMs);
    }
}

} // namespace tour
