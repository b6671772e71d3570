// SPDX-License-Identifier: Apache-2.0
#include "brokeninvariant.h"

#include <recordermoduledata.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtQml/QJSEngine>
#include <QtTest/QTest>

class TestRecorderModuleData : public QObject
{
    Q_OBJECT

    RecorderModuleData& moduleData = RecorderModuleData::instance();

    static QJsonObject json(const char* text) { return QJsonDocument::fromJson(text).object(); }

    /// Loads a block and returns what was said of it.
    QStringList load(const char* text, int expectedResult)
    {
        QList<JsonDocumentError> errors;
        const int result = moduleData.loadFromJson(json(text), errors);
        QStringList messages;
        for (const JsonDocumentError& error : errors) {
            messages.append(error.message());
        }
        return result == expectedResult ? messages : QStringList { QStringLiteral("unexpected result %1").arg(result) };
    }

private slots:
    void init() { QTest::failOnWarning(); }

    void cleanup()
    {
        const QJsonObject left = moduleData.exportToJson();
        for (const QString& uuid : left.value(QStringLiteral("filters")).toObject().keys()) {
            moduleData.updateFilters(uuid, QString());
        }
        for (const QString& uuid : left.value(QStringLiteral("file_path")).toObject().keys()) {
            moduleData.updateFilePath(uuid, QString());
        }
    }

    void withEmptyTablesTheBlockIsEmpty() { QCOMPARE(moduleData.exportToJson(), QJsonObject()); }

    void whatIsUpdatedIsReadBackAndExported()
    {
        moduleData.updateFilters(QStringLiteral("u1"), QStringLiteral("f1"));
        moduleData.updateFilters(QStringLiteral("u1"), QStringLiteral("f2"));
        moduleData.updateFilePath(QStringLiteral("u2"), QStringLiteral("/a/b.csv"));
        QCOMPARE(moduleData.getFilters(QStringLiteral("u1")), QStringLiteral("f2"));
        QCOMPARE(moduleData.getFilePath(QStringLiteral("u2")), QStringLiteral("/a/b.csv"));
        QCOMPARE(moduleData.exportToJson(), json(R"({"filters":{"u1":"f2"},"file_path":{"u2":"/a/b.csv"}})"));
    }

    void aTableWithoutEntriesIsLeftOutOfTheBlock()
    {
        moduleData.updateFilePath(QStringLiteral("u1"), QStringLiteral("/x"));
        QCOMPARE(moduleData.exportToJson().keys(), QStringList { QStringLiteral("file_path") });
    }

    void anEmptyOrUnknownUuidGivesANullText()
    {
        QVERIFY(moduleData.getFilters(QString()).isNull());
        QVERIFY(moduleData.getFilters(QStringLiteral("nobody")).isNull());
        QVERIFY(moduleData.getFilePath(QString()).isNull());
        QVERIFY(moduleData.getFilePath(QStringLiteral("nobody")).isNull());
    }

    void updatingWithAnEmptyTextRemovesTheEntry()
    {
        moduleData.updateFilters(QStringLiteral("u1"), QStringLiteral("f1"));
        moduleData.updateFilePath(QStringLiteral("u1"), QStringLiteral("/p"));
        moduleData.updateFilters(QStringLiteral("u1"), QString());
        QVERIFY(moduleData.getFilters(QStringLiteral("u1")).isNull());
        QCOMPARE(moduleData.exportToJson(), json(R"({"file_path":{"u1":"/p"}})"));
        moduleData.updateFilePath(QStringLiteral("u1"), QString());
        QVERIFY(moduleData.getFilePath(QStringLiteral("u1")).isNull());
        QCOMPARE(moduleData.exportToJson(), QJsonObject());
    }

    void anEmptyTextForAnAbsentUuidIsLeftOutOfTheBlock()
    {
        moduleData.updateFilters(QStringLiteral("fresh"), QStringLiteral(""));
        moduleData.updateFilePath(QStringLiteral("fresh"), QStringLiteral(""));
        QVERIFY(!moduleData.getFilters(QStringLiteral("fresh")).isNull());
        QVERIFY(!moduleData.getFilePath(QStringLiteral("fresh")).isNull());
        QCOMPARE(moduleData.exportToJson(), QJsonObject());
        moduleData.updateFilters(QStringLiteral("fresh"), QStringLiteral(""));
        moduleData.updateFilePath(QStringLiteral("fresh"), QStringLiteral(""));
        QVERIFY(moduleData.getFilters(QStringLiteral("fresh")).isNull());
        QVERIFY(moduleData.getFilePath(QStringLiteral("fresh")).isNull());
    }

    void aBlockIsLoadedAndAddsToWhatThereIs()
    {
        moduleData.updateFilters(QStringLiteral("u1"), QStringLiteral("old"));
        moduleData.updateFilters(QStringLiteral("u2"), QStringLiteral("kept"));
        QCOMPARE(load(R"({"filters":{"u1":"new"},"file_path":{"u3":"/p"}})", 0), QStringList());
        QCOMPARE(moduleData.getFilters(QStringLiteral("u1")), QStringLiteral("new"));
        QCOMPARE(moduleData.getFilters(QStringLiteral("u2")), QStringLiteral("kept"));
        QCOMPARE(moduleData.getFilePath(QStringLiteral("u3")), QStringLiteral("/p"));
    }

    void aBlockWithoutEitherKeyLoadsWithoutError()
    {
        QCOMPARE(load("{}", 0), QStringList());
        QCOMPARE(load(R"({"something":"else"})", 0), QStringList());
    }

    void filtersThatAreNoObjectAreAnError()
    {
        QCOMPARE(load(R"({"filters":"text"})", -1),
            QStringList {
                QStringLiteral("Failed to load recorders filters. The value of field filters must be an object") });
    }

    void aFilePathThatIsNoObjectIsAnError()
    {
        QCOMPARE(load(R"({"file_path":[1]})", -1),
            QStringList {
                QStringLiteral("Failed to load recorders file path. The value of field file_path must be an object") });
    }

    void anEmptyKeyAmongTheFiltersIsAnError()
    {
        QCOMPARE(load(R"({"filters":{"":"x","u1":"f"}})", -1),
            QStringList { QStringLiteral("Failed to load recorder filters. A key is empty") });
        QCOMPARE(moduleData.getFilters(QStringLiteral("u1")), QStringLiteral("f"));
    }

    void anEmptyKeyAmongTheFilePathsIsAnError()
    {
        QCOMPARE(load(R"({"file_path":{"":"x"}})", -1),
            QStringList { QStringLiteral("Failed to load recorder file path. A key is empty") });
    }

    void aFilterThatIsNoTextIsAnError()
    {
        QCOMPARE(load(R"({"filters":{"u1":12}})", -1),
            QStringList {
                QStringLiteral("Failed to load filters for recorder instance u1. The value is not a string") });
        QVERIFY(moduleData.getFilters(QStringLiteral("u1")).isNull());
    }

    void aFilePathThatIsNoTextIsAnError()
    {
        QCOMPARE(load(R"({"file_path":{"u1":null}})", -1),
            QStringList {
                QStringLiteral("Failed to load file path for recorder instance u1. The value is not a string") });
    }

    void everyBadMemberIsReportedAndTheRestIsRead()
    {
        QCOMPARE(load(R"({"filters":{"":1,"a":2,"b":"ok"},"file_path":{"c":true,"d":"/ok"}})", -1),
            (QStringList { QStringLiteral("Failed to load recorder filters. A key is empty"),
                QStringLiteral("Failed to load filters for recorder instance a. The value is not a string"),
                QStringLiteral("Failed to load file path for recorder instance c. The value is not a string") }));
        QCOMPARE(moduleData.getFilters(QStringLiteral("b")), QStringLiteral("ok"));
        QCOMPARE(moduleData.getFilePath(QStringLiteral("d")), QStringLiteral("/ok"));
    }

    void anErrorThatTheCallerBringsAlongGivesMinusOneToo()
    {
        QList<JsonDocumentError> errors { JsonDocumentError(QStringLiteral("earlier")) };
        QCOMPARE(moduleData.loadFromJson(QJsonObject(), errors), -1);
        QCOMPARE(errors.size(), 1);
    }

    void anExportedBlockLoadsBack()
    {
        moduleData.updateFilters(QStringLiteral("u1"), QString::fromUtf8("temp\u00e9rature %1 \"x\""));
        moduleData.updateFilePath(QStringLiteral("u1"), QStringLiteral("/tmp/%2.csv"));
        const QJsonObject block = moduleData.exportToJson();
        cleanup();
        QCOMPARE(moduleData.exportToJson(), QJsonObject());
        QList<JsonDocumentError> errors;
        QCOMPARE(moduleData.loadFromJson(block, errors), 0);
        QCOMPARE(moduleData.exportToJson(), block);
    }

    void anEmptyUuidIsABrokenInvariant()
    {
        const QByteArray filters
            = messageOfBrokenInvariant([this] { moduleData.updateFilters(QString(), QStringLiteral("f")); });
        QVERIFY2(filters.contains("ASSERT: \"!encounteredAgentInfoUuid.isEmpty()\""), filters.constData());
        const QByteArray path
            = messageOfBrokenInvariant([this] { moduleData.updateFilePath(QString(), QStringLiteral("f")); });
        QVERIFY2(path.contains("ASSERT: \"!encounteredAgentInfoUuid.isEmpty()\""), path.constData());
    }

    void theSingletonHasNoPropertiesNoParentAndNoEngineThatOwnsIt()
    {
        QCOMPARE(RecorderModuleData::qmlSingleton(nullptr, nullptr), &moduleData);
        QCOMPARE(moduleData.parent(), nullptr);
        QCOMPARE(QJSEngine::objectOwnership(&moduleData), QJSEngine::CppOwnership);
        const QMetaObject& meta = RecorderModuleData::staticMetaObject;
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }
};

QTEST_GUILESS_MAIN(TestRecorderModuleData)
#include "tst_recordermoduledata.moc"
