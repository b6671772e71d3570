// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_ENDTOEND_RECORDERPROGRAM_H
#define TESTS_ENDTOEND_RECORDERPROGRAM_H

#include "processes.h"
#include "recorderclient.h"

// The recorder agent as a child process, with a store below a folder of the test's.
class RecorderProgram
{
public:
    RecorderProgram(quint16 port, const QString& name, const QString& folder, const QString& database = "embedded:9042")
        : _name(name)
        , _folder(folder)
    {
        _arguments << "--name" << name << "--device" << "lo" << "--port" << QString::number(port) << "--data-directory"
                   << folder + "/store";
        if (!database.isEmpty()) {
            _arguments << "--cassandra" << database;
        }
    }

    ~RecorderProgram()
    {
        if (_process.state() != QProcess::NotRunning) {
            _process.terminate();
            if (!_process.waitForFinished(5'000)) {
                kill();
            }
        }
    }

    // True once it is on the network.
    bool start()
    {
        _process.setProcessEnvironment(environmentWith(_folder));
        _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        _process.start(QStringLiteral(RR_RECORDER), _arguments);
        return _process.waitForStarted(5'000) && RecorderClient::waitForAgent(_name, true);
    }

    // SIGKILL: it can do nothing about it.
    void kill()
    {
        _process.kill();
        _process.waitForFinished(5'000);
    }

    QString name() const { return _name; }

private:
    QString _name;
    QString _folder;
    QStringList _arguments;
    QProcess _process;
};

#endif
