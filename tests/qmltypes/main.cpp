// SPDX-License-Identifier: Apache-2.0
//
// Describes the QML modules whose types C++ code registers, so that qmllint can check the pages: qmlTypes FOLDER.
// A type that is listed here and not registered by the program ends it with an error, so that the two stay together.
#include "qmltypes.h"

#include "corvanemodule.h"
#include "corvanemoduleentry.h"
#include "corvanemoduleview.h"
#include "corvaneqmltypes.h"
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "host.h"
#include "hostapplication.h"
#include "library.h"
#include "networkconfiguration.h"
#include "pluginmanager.h"
#include "qmlsortfilterrecords.h"
#include "recordagentfilter.h"
#include "recorder.h"
#include "recorderinstance.h"
#include "recordermodule.h"
#include "recorderplugin.h"
#include "recorderrecord.h"
#include "recordertimeformat.h"
#include "recorderutils.h"
#include "runningagentinfo.h"
#include "sortfilterrecorder.h"
#include "sortfilterrecorderinstance.h"
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

#include <QGuiApplication>
#include <QtQml>

#include <cstdio>

namespace {

template <class T> QmlType type(const char* name, QmlType::Kind kind = QmlType::Uncreatable)
{
    return { name, &T::staticMetaObject, kind };
}

QmlModule corvane()
{
    return { "Corvane", { "QtQuick" },
        { type<Theme>("Theme", QmlType::Singleton),
            type<NetworkConfiguration>("NetworkConfiguration", QmlType::Singleton),
            type<SystemDocumentHandler>("SystemDocumentHandler", QmlType::Singleton),
            type<SystemViewManager>("SystemViewManager", QmlType::Singleton),
            type<PluginManager>("PluginManager", QmlType::Singleton),
            type<CorvaneModuleView>("CorvaneModuleView", QmlType::Creatable),
            type<AbstractZqCustomItemListModel>("AbstractZqCustomItemListModel"),
            type<ZqSortFilterProxyModel>("ZqSortFilterProxyModel"), type<CorvaneModule>("CorvaneModule"),
            type<CorvaneModuleEntry>("CorvaneModuleEntry"), type<EncounteredAgentInfo>("EncounteredAgentInfo"),
            type<EncounteredAgentsOnHost>("EncounteredAgentsOnHost"), type<Host>("Host"), type<Library>("Library"),
            type<RunningAgentInfo>("RunningAgentInfo"), type<Speed>("Speed"), type<SystemDocument>("SystemDocument"),
            type<SystemView>("SystemView"), type<SystemViewBaseInstance>("SystemViewBaseInstance"),
            type<SystemViewClass>("SystemViewClass"), type<SystemViewClassInstance>("SystemViewClassInstance"),
            type<SystemViewCorvaneModule>("SystemViewCorvaneModule") } };
}

QmlModule recordAndReplay()
{
    return { "RecordAndReplay", { "QtQuick", "Corvane" },
        { type<RecorderUtils>("RecorderUtils", QmlType::Singleton),
            type<RecorderTimeFormat>("RecorderTimeFormat", QmlType::Singleton), type<RecorderModule>("RecorderModule"),
            type<Recorder>("Recorder"), type<RecorderInstance>("RecorderInstance"),
            type<RecorderRecord>("RecorderRecord"), type<RecordAgentFilter>("RecordAgentFilter"),
            type<SortFilterRecorder>(""), type<SortFilterRecorderInstance>(""),
            type<QmlSortFilterRecords>("SortFilterRecords", QmlType::Creatable) } };
}

QmlModule host()
{
    return { "Corvane.Host", { "QtQuick", "Corvane" }, { type<HostApplication>("HostApplication") } };
}

} // namespace

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: qmlTypes FOLDER\n", stderr);
        return 2;
    }
    registerCorvaneQmlTypes();
    const RecorderPlugin plugin; // registers its own

    const QList<QmlModule> modules { corvane(), recordAndReplay(), host() };
    QList<QmlType> known;
    for (const QmlModule& module : modules) {
        known.append(module.types);
    }
    for (const QmlModule& module : modules) {
        for (const QmlType& type : module.types) {
            // The host registers its type with its window, which is not opened here.
            if (!type.name.isEmpty() && module.uri != "Corvane.Host"
                && qmlTypeId(module.uri.constData(), 1, 0, type.name.constData()) == -1) {
                std::fprintf(stderr, "%s %s is not registered: take it out of the list\n", module.uri.constData(),
                    type.name.constData());
                return 1;
            }
        }
        QString error;
        if (!writeQmlTypes(QString::fromLocal8Bit(argv[1]), module, known, &error)) {
            std::fprintf(stderr, "%s\n", qPrintable(error));
            return 1;
        }
    }
    return 0;
}
