// SPDX-License-Identifier: Apache-2.0
#include "corvaneqmltypes.h"

#include "corvanemodule.h"
#include "corvanemoduleentry.h"
#include "corvanemoduleview.h"
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "host.h"
#include "library.h"
#include "networkconfiguration.h"
#include "pluginmanager.h"
#include "runningagentinfo.h"
#include "speed.h"
#include "systemdocument.h"
#include "systemdocumenthandler.h"
#include "systemview.h"
#include "systemviewclass.h"
#include "systemviewclassinstance.h"
#include "systemviewcorvanemodule.h"
#include "systemviewmanager.h"
#include "theme.h"

#include <abstractzqcustomitemlistmodel.h>
#include <zqsortfilterproxymodel.h>

#include <QJSEngine>
#include <QtQml>

namespace {

constexpr char URI[] = "Corvane";

// One object for every engine of the process, owned by none of them.
template <class T> void registerSingleton(const char* name)
{
    qmlRegisterSingletonType<T>(URI, 1, 0, name, [](QQmlEngine*, QJSEngine*) -> QObject* {
        QJSEngine::setObjectOwnership(T::instance(), QJSEngine::CppOwnership);
        return T::instance();
    });
}

template <class T> void registerUncreatable(const char* name)
{
    qmlRegisterUncreatableType<T>(URI, 1, 0, name, QStringLiteral("Made by the framework"));
}

void registerAll()
{
    registerSingleton<Theme>("Theme");
    registerSingleton<NetworkConfiguration>("NetworkConfiguration");
    registerSingleton<SystemDocumentHandler>("SystemDocumentHandler");
    registerSingleton<SystemViewManager>("SystemViewManager");
    registerSingleton<PluginManager>("PluginManager");
    qmlRegisterType<CorvaneModuleView>(URI, 1, 0, "CorvaneModuleView");

    registerUncreatable<AbstractZqCustomItemListModel>("AbstractZqCustomItemListModel");
    registerUncreatable<ZqSortFilterProxyModel>("ZqSortFilterProxyModel");
    registerUncreatable<CorvaneModule>("CorvaneModule");
    registerUncreatable<CorvaneModuleEntry>("CorvaneModuleEntry");
    registerUncreatable<EncounteredAgentInfo>("EncounteredAgentInfo");
    registerUncreatable<EncounteredAgentsOnHost>("EncounteredAgentsOnHost");
    registerUncreatable<Host>("Host");
    registerUncreatable<Library>("Library");
    registerUncreatable<RunningAgentInfo>("RunningAgentInfo");
    registerUncreatable<Speed>("Speed");
    registerUncreatable<SystemDocument>("SystemDocument");
    registerUncreatable<SystemView>("SystemView");
    registerUncreatable<SystemViewBaseInstance>("SystemViewBaseInstance");
    registerUncreatable<SystemViewClass>("SystemViewClass");
    registerUncreatable<SystemViewClassInstance>("SystemViewClassInstance");
    registerUncreatable<SystemViewCorvaneModule>("SystemViewCorvaneModule");
}

} // namespace

void registerCorvaneQmlTypes()
{
    static const bool isRegistered = [] {
        registerAll();
        return true;
    }();
    Q_UNUSED(isRegistered)
}
