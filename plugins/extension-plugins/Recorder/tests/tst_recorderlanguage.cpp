// SPDX-License-Identifier: Apache-2.0
#include <corvanemoduleplugin.h>
#include <corvaneqmltypes.h>

#include <QtCore/QLocale>
#include <QtCore/QPluginLoader>
#include <QtQml/QQmlComponent>
#include <QtQml/QQmlEngine>
#include <QtQml/QQmlExpression>
#include <QtTest/QtTest>

/// The language of the plugin's texts, in a host that did nothing for it but set its own locale.
class tst_RecorderLanguage : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void theLocaleDecidesWhichTextsAreShown_data();
    void theLocaleDecidesWhichTextsAreShown();
    void pagesAreShownInTheLanguage();
    void datesOfRecordsAreWrittenAsTheLocaleWritesThem();
    void theTextsGoWithThePlugin();

private:
    CorvaneModulePlugin* loadUnder(const QString& locale);

    QPluginLoader _loader { QStringLiteral(RECORDER_PLUGIN) };
};

void tst_RecorderLanguage::init()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
}

void tst_RecorderLanguage::cleanup()
{
    _loader.unload();
    QLocale::setDefault(QLocale::system());
}

CorvaneModulePlugin* tst_RecorderLanguage::loadUnder(const QString& locale)
{
    QLocale::setDefault(QLocale(locale));
    return qobject_cast<CorvaneModulePlugin*>(_loader.instance());
}

void tst_RecorderLanguage::theLocaleDecidesWhichTextsAreShown_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("menuLabel");
    QTest::addColumn<QString>("recap");
    QTest::addColumn<QString>("one");
    QTest::addColumn<QString>("many");
    QTest::newRow("French") << "fr_FR" << "Capture et rejeu" << "Tous les agents" << "1 instance" << "2 instances";
    QTest::newRow("French of Canada")
        << "fr_CA" << "Capture et rejeu" << "Tous les agents" << "1 instance" << "2 instances";
    QTest::newRow("English") << "en_GB" << "Record & Replay" << "All agents" << "1 instance" << "2 instances";
    QTest::newRow("a language that is not there")
        << "de_DE" << "Record & Replay" << "All agents" << "1 instance" << "2 instances";
    QTest::newRow("no language") << "C" << "Record & Replay" << "All agents" << "1 instance" << "2 instances";
}

void tst_RecorderLanguage::theLocaleDecidesWhichTextsAreShown()
{
    QFETCH(QString, locale);
    CorvaneModulePlugin* const plugin = loadUnder(locale);
    QVERIFY2(plugin, qPrintable(_loader.errorString()));
    QTEST(plugin->modulesMenuLabel(), "menuLabel");
    // The name is one name in all languages.
    QCOMPARE(plugin->name(), "Record & Replay");
    QTEST(QCoreApplication::translate("RecorderRecord", "All agents"), "recap");
    QTEST(QCoreApplication::translate("RecorderItem", "%n instances", nullptr, 1), "one");
    QTEST(QCoreApplication::translate("RecorderItem", "%n instances", nullptr, 2), "many");
}

void tst_RecorderLanguage::pagesAreShownInTheLanguage()
{
    QVERIFY(loadUnder(QStringLiteral("fr")));
    registerCorvaneQmlTypes();
    QQmlEngine engine;
    QQmlComponent component(
        &engine, QUrl(QStringLiteral("qrc:/qml/RecordAndReplay/popups/ConfirmRecorderDeletion.qml")));
    const std::unique_ptr<QObject> question(component.create());
    QVERIFY2(question, qPrintable(component.errorString()));
    QCOMPARE(question->property("text").toString(), QString(u"Voulez-vous supprimer l’enregistreur\u202F?"));
}

void tst_RecorderLanguage::datesOfRecordsAreWrittenAsTheLocaleWritesThem()
{
    QVERIFY(loadUnder(QStringLiteral("fr")));
    QQmlEngine engine;
    QQmlExpression date(engine.rootContext(), nullptr,
        QStringLiteral("new Date(2026, 1, 3, 14, 5).toLocaleString(Qt.locale(), "
                       "qsTranslate('CassandraRecordItem', 'd MMM yyyy, hh:mm'))"));
    QCOMPARE(date.evaluate().toString(), "3 févr. 2026, 14:05");
    QVERIFY2(!date.hasError(), qPrintable(date.error().toString()));
}

void tst_RecorderLanguage::theTextsGoWithThePlugin()
{
    QVERIFY(loadUnder(QStringLiteral("fr")));
    QCOMPARE(QCoreApplication::translate("RecorderRecord", "All agents"), "Tous les agents");
    QVERIFY2(_loader.unload(), qPrintable(_loader.errorString()));
    QCOMPARE(QCoreApplication::translate("RecorderRecord", "All agents"), "All agents");
}

QTEST_MAIN(tst_RecorderLanguage)
#include "tst_recorderlanguage.moc"
