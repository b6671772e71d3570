// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "host.h"
#include "library.h"
#include "networkagents.h"
#include "networkconfiguration.h"
#include "pluginmanager.h"
#include "reservedagentandtoolfamilies.h"
#include "systemdocument.h"
#include "systemdocumenthandler.h"
#include "systemview.h"
#include "systemviewclassinstance.h"
#include "systemviewclassplugin.h"

#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

#include <zqquickgeneral.h>

/// What most tests of the framework begin with.
namespace FrameworkFixture {

/// An unexpected warning fails the test. The toolkit's are off: model testers ask for roles that no list has.
inline void beStrict()
{
    ZqQuickGeneral::instance().setwarningsEnabled(false);
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
}

inline const QString SENSOR_FAMILY = QStringLiteral("0b5bd3a6-3f7a-4a11-8f57-5a5b2f6f0001");

inline SystemDocumentHandler* handler()
{
    return SystemDocumentHandler::instance();
}

inline SystemView* currentView()
{
    return handler()->currentSystemView();
}

inline QString localName()
{
    return NetworkConfiguration::instance()->localNetworkName();
}

/// A new instance of a family in the current view, as a page makes it.
inline SystemViewClassInstance* createInstance(const QString& family, const QString& className = QString())
{
    handler()->library()->getOrCreateClass(family, className);
    return qobject_cast<SystemViewClassInstance*>(handler()->createInstance(family));
}

inline SystemViewClassInstance* createRecorder()
{
    return createInstance(ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID);
}

/// An agent as the network would report it. Told to the document by entered() and exited().
inline NetworkAgent agent(const QString& uuid, const QString& name, const QString& family, const QString& hostName,
    const QStringList& arguments = {})
{
    NetworkAgent result;
    result.uuid = uuid;
    result.name = name;
    result.familyUuid = family;
    result.hostName = hostName;
    result.address = QStringLiteral("127.0.0.1");
    result.processId = 4711;
    result.executable = QStringLiteral("/usr/bin/env");
    result.arguments = arguments;
    result.stoppable = true;
    result.isOfThisMachine = true;
    return result;
}

inline void entered(const NetworkAgent& agent)
{
    Q_EMIT NetworkAgents::instance()->agentEntered(agent);
}

inline void exited(const NetworkAgent& agent)
{
    Q_EMIT NetworkAgents::instance()->agentExited(agent);
}

} // namespace FrameworkFixture
