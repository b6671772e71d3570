// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "machine.h"

#include <QtCore/QHash>

#include <memory>

/// Machines that are joined by cables to switches. The switches are a machine of their own: nothing of the real
/// machine's devices, routes or rules is read or changed. What goes wrong is told by the functions, in `ip`'s words;
/// empty is good.
class VirtualNetwork
{
public:
    /// Every network needs a switch first. One that carries no multicast is like many wireless and routed networks.
    enum class Multicast
    {
        Carried,
        Dropped
    };
    QString addSwitch(const QString& name, Multicast multicast = Multicast::Carried);

    struct Cable
    {
        QString device; // at the machine, such as "eth0"
        QString toSwitch;
        QStringList addresses; // with the length of the network's, "10.87.0.2/24"
    };
    /// A machine with its cables plugged in. One of that name that is there already loses its power first: nothing is
    /// heard of it any more, and it says nothing.
    QString powerUp(const QString& hostName, const QList<Cable>& cables);
    void powerDown(const QString& hostName);
    /// Null when it is not there.
    Machine* machine(const QString& hostName) const;

    /// Pulled: the machine sees its device without a carrier. Jammed: nothing gets through, and nobody sees why.
    enum class Fault
    {
        Pulled,
        Jammed
    };
    QString cut(const QString& hostName, const QString& device, Fault fault);
    QString mend(const QString& hostName, const QString& device);

private:
    static QString _ip(const Machine& machine, const QStringList& commands);
    QString _setPort(const QString& hostName, const QString& device, const char* setting);
    QStringList _plugIn(const QString& port) const;

    Machine _switches { QStringLiteral("switches") };
    QHash<QString, Multicast> _multicast; // by switch
    QHash<QString, std::shared_ptr<Machine>> _machines;
    QHash<QString, QString> _ports; // at a switch, by "machine/device"
    QHash<QString, QString> _switchOf; // by port
    int _count = 0;
};
