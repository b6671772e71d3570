// SPDX-License-Identifier: Apache-2.0
#include "recorderplugin.h"

#include "qmlsortfilterrecords.h"
#include "recordagentfilter.h"
#include "recordermodule.h"
#include "recordermoduledata.h"
#include "recordertimeformat.h"
#include "recorderutils.h"

#include <reservedextensions.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QLocale>
#include <QtQml/qqml.h>

RecorderPlugin::RecorderPlugin(QObject* parent)
    : CorvaneModulePlugin(parent)
{
    _installTranslation();
    setname(QStringLiteral("Record & Replay"));
    setmodulesMenuLabel(tr("Record & Replay"));
    setmodulesMenuIcon(QUrl(QStringLiteral("qrc:/resources/RecordAndReplay/logo.svg")));
    setqmlItemUrl(QUrl(QStringLiteral("qrc:/qml/RecordAndReplay/main.qml")));
    _registerQmlTypes();
    _recorderExecutablePath
        = QFileInfo(QCoreApplication::applicationDirPath() + QStringLiteral("/../agents/qnyRecorder/qnyRecorder"))
              .canonicalFilePath();
}

RecorderPlugin::~RecorderPlugin() = default;

QString RecorderPlugin::jsonTag() const
{
    return QStringLiteral("recordAndReplay");
}

QJsonObject RecorderPlugin::exportToJson() const
{
    return RecorderModuleData::instance().exportToJson();
}

int RecorderPlugin::loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors)
{
    return RecorderModuleData::instance().loadFromJson(json, errors);
}

CorvaneModule* RecorderPlugin::createCorvaneModule()
{
    return new RecorderModule(_recorderExecutablePath, nullptr);
}

QString RecorderPlugin::uuid() const
{
    return ReservedExtensions::RECORD_AND_REPLAY;
}

void RecorderPlugin::_installTranslation()
{
    const QString folder = QStringLiteral(":/translations");
    // English has a file too, for its plurals.
    if (_translator.load(QLocale(), QStringLiteral("Recorder"), QStringLiteral("_"), folder)
        || _translator.load(QStringLiteral("Recorder_en"), folder)) {
        QCoreApplication::installTranslator(&_translator);
    }
}

void RecorderPlugin::_registerQmlTypes()
{
    constexpr char URI[] = "RecordAndReplay";
    constexpr int MAJOR = 1;
    constexpr int MINOR = 0;
    const QString internalClass = QStringLiteral("Internal class");

    qmlRegisterSingletonType<RecorderUtils>(URI, MAJOR, MINOR, "RecorderUtils", &RecorderUtils::qmlSingleton);
    qmlRegisterSingletonType<RecorderTimeFormat>(
        URI, MAJOR, MINOR, "RecorderTimeFormat", &RecorderTimeFormat::qmlSingleton);
    qmlRegisterUncreatableType<RecorderModule>(URI, MAJOR, MINOR, "RecorderModule", internalClass);
    qmlRegisterUncreatableType<Recorder>(URI, MAJOR, MINOR, "Recorder", internalClass);
    qmlRegisterUncreatableType<RecorderInstance>(URI, MAJOR, MINOR, "RecorderInstance", internalClass);
    qmlRegisterUncreatableType<RecorderRecord>(URI, MAJOR, MINOR, "RecorderRecord", internalClass);
    qmlRegisterUncreatableType<RecordAgentFilter>(URI, MAJOR, MINOR, "RecordAgentFilter", internalClass);
    // The pages use the shorter name.
    qmlRegisterType<QmlSortFilterRecords>(URI, MAJOR, MINOR, "SortFilterRecords");
}
