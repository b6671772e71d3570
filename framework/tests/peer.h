// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QProcess>
#include <QString>

namespace FrameworkFixture {

inline const QString PEER = QStringLiteral(TEST_PEER);

/// An agent in a process of its own; ends with the object.
class Peer
{
public:
    explicit Peer(const QStringList& arguments)
    {
        _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        _process.start(PEER, arguments);
        _isReady = _process.waitForStarted() && waitForLine(QStringLiteral("ready"));
    }
    ~Peer()
    {
        _process.closeWriteChannel();
        if (!_process.waitForFinished(5000)) {
            _process.kill();
            _process.waitForFinished();
        }
    }
    bool isReady() const { return _isReady; }
    bool waitForLine(const QString& start)
    {
        while (_process.canReadLine() || _process.waitForReadyRead(10000)) {
            if (_process.canReadLine()) {
                lastLine = QString::fromUtf8(_process.readLine()).trimmed();
                if (lastLine.startsWith(start)) {
                    return true;
                }
            }
        }
        return false;
    }
    QProcess& process() { return _process; }
    QString lastLine;

private:
    QProcess _process;
    bool _isReady = false;
};

} // namespace FrameworkFixture
