// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <sys/types.h>

/// What keeps machines from being made here, as a sentence; empty when nothing does.
QString machinesProblem();

/// Another machine on this one: a network, a table of processes, a host name and a /proc of its own.
/// Nothing of it has a name outside. It is held by one process, the machine's first, which ends with this object and
/// with the process that made it, however that ends; everything that runs in the machine is ended with it by the
/// kernel.
class Machine
{
public:
    explicit Machine(const QString& hostName);
    /// Ends every process of the machine at once. None of them can say anything about it.
    ~Machine();
    Q_DISABLE_COPY_MOVE(Machine)

    /// False when it could not be made: machinesProblem() says why.
    bool isThere() const { return _first > 0; }
    QString hostName() const { return _hostName; }
    /// The machine's network, as a path that `ip link ... netns` takes.
    QString networkPath() const;

    /// While one exists, the calling thread is on the machine's network, and processes that it starts run in the
    /// machine. No thread may be started meanwhile.
    class Visit
    {
    public:
        explicit Visit(const Machine& machine);
        ~Visit();
        Q_DISABLE_COPY_MOVE(Visit)

    private:
        int _network;
        int _name;
    };
    /// The calling process lives on the machine's network from here on, and under its name, while its processes stay
    /// outside. Before any thread is started. Empty, or what is wrong.
    QString moveIn() const;

    /// Starts a program in the machine, with the machine's own /proc.
    void start(QProcess& process, const QString& program, const QStringList& arguments) const;
    /// Runs a program in the machine to its end, which sees the /proc of outside. Empty when it succeeded, else what it
    /// said.
    QString run(const QString& program, const QStringList& arguments, const QByteArray& input = {}) const;

    /// Every process of the machine stands still, and goes on.
    QString freeze() const { return run("/bin/sh", { "-c", "kill -STOP -1" }); }
    QString thaw() const { return run("/bin/sh", { "-c", "kill -CONT -1" }); }

private:
    void _startHere(QProcess& process, const QString& program, const QStringList& arguments) const;

    const QString _hostName;
    pid_t _first = -1;
    int _leash = -1; // the machine's first process ends when it is closed
    int _network = -1;
    int _processes = -1;
    int _name = -1;
    int _mounts = -1;
};
