// SPDX-License-Identifier: Apache-2.0
#include "virtualnetwork.h"

QString VirtualNetwork::addSwitch(const QString& name, Multicast multicast)
{
    _multicast.insert(name, multicast);
    return _ip(_switches,
        { QStringLiteral("link add %1 type bridge mcast_snooping 0").arg(name),
            QStringLiteral("link set %1 up").arg(name) });
}

QString VirtualNetwork::powerUp(const QString& hostName, const QList<Cable>& cables)
{
    powerDown(hostName);
    const auto machine = std::make_shared<Machine>(hostName);
    if (!machine->isThere()) {
        return QStringLiteral("the machine %1 cannot be made").arg(hostName);
    }
    QStringList atSwitches;
    QStringList atMachine { QStringLiteral("link set lo up") };
    for (const Cable& cable : cables) {
        const QString port = QStringLiteral("port%1").arg(++_count);
        _ports.insert(hostName + u'/' + cable.device, port);
        _switchOf.insert(port, cable.toSwitch);
        atSwitches << QStringLiteral("link add %1 type veth peer name %2 netns %3")
                          .arg(port, cable.device, machine->networkPath())
                   << _plugIn(port) << QStringLiteral("link set %1 up").arg(port);
        for (const QString& address : cable.addresses) {
            // Nobody else has it: what IPv6 does to find that out would only take a second.
            const QLatin1String noSearch(address.contains(u':') ? "nodad" : "");
            atMachine << QStringLiteral("address add %1 dev %2 %3").arg(address, cable.device, noSearch);
        }
        atMachine << QStringLiteral("link set %1 up").arg(cable.device);
    }
    const QString problem = _ip(_switches, atSwitches);
    if (!problem.isEmpty()) {
        return problem;
    }
    _machines.insert(hostName, machine);
    return _ip(*machine, atMachine);
}

void VirtualNetwork::powerDown(const QString& hostName)
{
    const QString prefix = hostName + u'/';
    QStringList gone;
    for (auto each = _ports.cbegin(); each != _ports.cend(); ++each) {
        if (each.key().startsWith(prefix)) {
            gone << each.key();
        }
    }
    QStringList commands;
    for (const QString& key : std::as_const(gone)) {
        commands << QStringLiteral("link delete ") + _ports.take(key);
    }
    if (!commands.isEmpty()) {
        _ip(_switches, commands);
    }
    _machines.remove(hostName);
}

Machine* VirtualNetwork::machine(const QString& hostName) const
{
    return _machines.value(hostName).get();
}

QString VirtualNetwork::cut(const QString& hostName, const QString& device, Fault fault)
{
    // A port that is taken out of its switch has a link, and leads nowhere.
    return _setPort(hostName, device, fault == Fault::Pulled ? "down" : "nomaster");
}

QString VirtualNetwork::mend(const QString& hostName, const QString& device)
{
    const QString problem = _setPort(hostName, device, "up");
    return problem.isEmpty() ? _ip(_switches, _plugIn(_ports.value(hostName + u'/' + device))) : problem;
}

QStringList VirtualNetwork::_plugIn(const QString& port) const
{
    const QString toSwitch = _switchOf.value(port);
    const bool isCarried = _multicast.value(toSwitch) == Multicast::Carried;
    return { QStringLiteral("link set %1 master %2").arg(port, toSwitch),
        QStringLiteral("link set %1 type bridge_slave mcast_flood %2")
            .arg(port, isCarried ? QStringLiteral("on") : QStringLiteral("off")) };
}

QString VirtualNetwork::_setPort(const QString& hostName, const QString& device, const char* setting)
{
    return _ip(_switches,
        { QStringLiteral("link set %1 %2").arg(_ports.value(hostName + u'/' + device), QLatin1String(setting)) });
}

QString VirtualNetwork::_ip(const Machine& machine, const QStringList& commands)
{
    return machine.run(
        QStringLiteral("ip"), { QStringLiteral("-batch"), QStringLiteral("-") }, commands.join(u'\n').toUtf8() + '\n');
}
