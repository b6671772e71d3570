// SPDX-License-Identifier: Apache-2.0
// What a person does with documents in the window: with keys, and with the answers to what is asked.
#include "hostapplication.h"
#include "hostsettings.h"
#include "testplugin.h"

#include <library.h>
#include <networkconfiguration.h>
#include <pluginmanager.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemview.h>
#include <systemviewclass.h>
#include <systemviewclassinstance.h>

#include <QtCore/QTemporaryDir>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickWindow>
#include <QtTest/QtTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

namespace {

// Answers the next dialog, and counts it. What nobody asks stays unanswered, and `asked` at 0.
class Answer : public QObject
{
public:
    // To a question.
    explicit Answer(QMessageBox::StandardButton button)
        : Answer([button](QWidget* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            return box && QMetaObject::invokeMethod(box->button(button), "click", Qt::QueuedConnection);
        })
    {
    }
    // To a file dialog; an empty path cancels it.
    explicit Answer(const QString& path)
        : Answer([path](QWidget* dialog) {
            auto* files = qobject_cast<QFileDialog*>(dialog);
            if (!files) {
                return false;
            }
            // Typed and accepted at once: the dialog types its proposal again when it has read the folder.
            QMetaObject::invokeMethod(
                files,
                [files, path] {
                    files->findChild<QLineEdit*>("fileNameEdit")->setText(path);
                    QMetaObject::invokeMethod(files, path.isEmpty() ? "reject" : "accept", Qt::DirectConnection);
                },
                Qt::QueuedConnection);
            return true;
        })
    {
    }

    int asked = 0;
    QPointer<QWindow> owner; // of the last one
    QString folder; // that the last file dialog began in
    QString proposal; // the name that it proposed
    QString explanation; // of the last question

private:
    explicit Answer(std::function<bool(QWidget*)> answer)
        : _answer(std::move(answer))
    {
        connect(&_timer, &QTimer::timeout, this, [this] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (dialog && dialog->isVisible() && dialog != _answered && _answer(dialog)) {
                if (const auto* question = qobject_cast<QMessageBox*>(dialog)) {
                    explanation = question->informativeText();
                }
                if (auto* files = qobject_cast<QFileDialog*>(dialog)) {
                    folder = files->directory().absolutePath();
                    proposal = files->findChild<QLineEdit*>("fileNameEdit")->text();
                }
                _answered = dialog;
                owner = dialog->windowHandle()->transientParent();
                ++asked;
            }
        });
        _timer.start(20);
    }

    std::function<bool(QWidget*)> _answer;
    QPointer<QWidget> _answered;
    QTimer _timer;
};

QStringList noticesIn(const QQuickItem* item)
{
    QStringList notices;
    if (item->isVisible() && item->objectName() == QLatin1String("notice")) {
        notices.append(item->property("modelData").toString());
    }
    const auto children = item->childItems();
    for (const QQuickItem* child : children) {
        notices += noticesIn(child);
    }
    return notices;
}

} // namespace

class tst_host_documents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void ctrlSSavesAndTheMarkOfAChangeGoes();
    void ctrlShiftSSavesUnderTheTypedNameWithItsEnding();
    void ctrlOOpensTheChosenDocument();
    void ctrlNBeginsAnEmptyDocumentWhoseFirstSaveAsksForAName();
    void unsavedChangesAreAskedAboutBeforeTheyGo_data();
    void unsavedChangesAreAskedAboutBeforeTheyGo();
    void theQuestionTellsWhenOnlyWhatModulesKeepChanged();
    void aNameWithoutEndingAsksBeforeItReplacesAFile();
    void whatCannotBeSavedIsSaidAndNeitherClosedNorLost();
    void aFileThatIsNoDocumentIsSaidAndTheOpenOneStays();
    void theLastDocumentsAreListedTheLatestFirst();
    void aRecentDocumentThatIsGoneIsSaidAndForgotten();
    void theNetworkIsRememberedWithItsSecurity();
    void theListOfRecentDocumentsIsKeptShortAndCanBeEmptied();

private:
    QString pathOf(const QString& name) const { return _folder.filePath(name); }
    void change();
    bool isChanged() const { return SystemDocumentHandler::instance()->hasUnsavedChanges(); }
    // A dialog that closed left no window active, as no window manager runs here.
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers)
    {
        _host->window()->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(_host->window()));
        QTest::keyClick(_host->window(), key, modifiers);
    }

    QTemporaryDir _folder;
    std::unique_ptr<TestPlugin> _plugin;
    std::unique_ptr<HostApplication> _host;
};

void tst_host_documents::initTestCase()
{
    qputenv("XDG_DATA_HOME", pathOf("data").toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", pathOf("config").toLocal8Bit());
    qputenv("HOME", _folder.path().toLocal8Bit());
    QFile page(pathOf("Page.qml"));
    QVERIFY(page.open(QIODevice::WriteOnly));
    page.write("import QtQuick\nItem { required property var corvaneModule }\n");
    page.close();
    _plugin = std::make_unique<TestPlugin>(QUrl::fromLocalFile(page.fileName()));
    QVERIFY(PluginManager::instance()->registerModulePlugin(_plugin.get()));
    HostOptions options;
    options.connectToNetwork = false;
    options.pluginsDirectory = _folder.path();
    options.page = "system";
    _host = std::make_unique<HostApplication>();
    QString error;
    QVERIFY2(_host->start(options, &error), qPrintable(error));
    QVERIFY(QTest::qWaitForWindowActive(_host->window()));
}

void tst_host_documents::cleanupTestCase()
{
    _host.reset();
    PluginManager::instance()->unregisterModulePlugin(_plugin.get());
}

void tst_host_documents::init()
{
    QString error;
    QVERIFY2(_host->saveDocument(pathOf("plant.json"), &error), qPrintable(error));
    QVERIFY(!isChanged());
}

// As anything that a person does to a system.
void tst_host_documents::change()
{
    auto* handler = SystemDocumentHandler::instance();
    if (handler->currentSystemView()->getAllClassInstances().isEmpty()) {
        QVERIFY(handler->createInstance(handler->library()->classes().constFirst()->familyUuid()));
    } else {
        handler->deleteInstance(handler->currentSystemView()->getAllClassInstances().constLast());
    }
    QVERIFY(isChanged());
}

void tst_host_documents::ctrlSSavesAndTheMarkOfAChangeGoes()
{
    change();
    QTRY_VERIFY2(_host->window()->title().endsWith("plant*"), qPrintable(_host->window()->title()));
    key(Qt::Key_S, Qt::ControlModifier);
    QVERIFY(!isChanged());
    QTRY_VERIFY2(_host->window()->title().endsWith("plant"), qPrintable(_host->window()->title()));
}

void tst_host_documents::ctrlShiftSSavesUnderTheTypedNameWithItsEnding()
{
    {
        Answer cancel { QString() };
        key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(cancel.asked, 1);
        QCOMPARE(cancel.owner, _host->window());
        QCOMPARE(_host->documentPath(), pathOf("plant.json"));
    }

    Answer answer(pathOf("renamed"));
    key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(answer.asked, 1);
    QCOMPARE(_host->documentPath(), pathOf("renamed.json"));
    QVERIFY(QFile::exists(pathOf("renamed.json")));
}

void tst_host_documents::ctrlOOpensTheChosenDocument()
{
    QString error;
    QVERIFY2(_host->saveDocument(pathOf("second.json"), &error), qPrintable(error));
    Answer answer(pathOf("plant.json"));
    key(Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(answer.asked, 1);
    QCOMPARE(answer.owner, _host->window());
    QCOMPARE(_host->documentName(), QStringLiteral("plant"));
}

void tst_host_documents::ctrlNBeginsAnEmptyDocumentWhoseFirstSaveAsksForAName()
{
    key(Qt::Key_N, Qt::ControlModifier);
    QCOMPARE(_host->documentPath(), QString());
    QVERIFY(SystemDocumentHandler::instance()->currentSystemView()->getAllClassInstances().isEmpty());
    {
        // Without a folder of documents it begins at home.
        QVERIFY(!QDir(_folder.path()).exists("Documents"));
        Answer cancel { QString() };
        key(Qt::Key_O, Qt::ControlModifier);
        QCOMPARE(cancel.asked, 1);
        QCOMPARE(cancel.folder, _folder.path());
        QCOMPARE(cancel.proposal, QString());
    }
    Answer answer(pathOf("new.json"));
    key(Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(answer.asked, 1);
    QCOMPARE(answer.proposal, QStringLiteral("system.json"));
    QCOMPARE(_host->documentPath(), pathOf("new.json"));
}

void tst_host_documents::unsavedChangesAreAskedAboutBeforeTheyGo_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<bool>("goes");
    QTest::addColumn<bool>("isSaved");
    QTest::newRow("cancel") << int(QMessageBox::Cancel) << false << false;
    QTest::newRow("discard") << int(QMessageBox::Discard) << true << false;
    QTest::newRow("save") << int(QMessageBox::Save) << true << true;
}

void tst_host_documents::unsavedChangesAreAskedAboutBeforeTheyGo()
{
    QFETCH(int, button);
    QFETCH(bool, goes);
    QFETCH(bool, isSaved);
    const auto content = [this] {
        QFile file(pathOf("plant.json"));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QByteArray before = content();
    change();
    Answer answer(static_cast<QMessageBox::StandardButton>(button));
    key(Qt::Key_N, Qt::ControlModifier);
    QCOMPARE(answer.asked, 1);
    QCOMPARE(answer.owner, _host->window());
    QCOMPARE(answer.explanation, QString());
    QCOMPARE(_host->documentPath().isEmpty(), goes);
    QCOMPARE(content() != before, isSaved);

    // The window asks the same; with nothing to lose it asks nothing.
    key(Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(answer.asked, goes ? 1 : 2);
    QCOMPARE(_host->window()->isVisible(), !goes);
    _host->window()->show();
}

void tst_host_documents::theQuestionTellsWhenOnlyWhatModulesKeepChanged()
{
    _plugin->_data = QJsonObject { { "file", "record.csv" } };
    const auto undo = qScopeGuard([this] { _plugin->_data = {}; });
    Answer cancel(QMessageBox::Cancel);
    QVERIFY(!_host->mayClose());
    QCOMPARE(cancel.asked, 1);
    QVERIFY2(cancel.explanation.contains("modules"), qPrintable(cancel.explanation));
}

void tst_host_documents::aNameWithoutEndingAsksBeforeItReplacesAFile()
{
    QString error;
    QVERIFY2(_host->saveDocument(pathOf("kept.json"), &error), qPrintable(error));
    QVERIFY2(_host->saveDocument(pathOf("plant.json"), &error), qPrintable(error));
    Answer name(pathOf("kept"));
    Answer replace(QMessageBox::Yes);
    key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(name.asked, 1);
    QCOMPARE(replace.asked, 1);
    QCOMPARE(_host->documentPath(), pathOf("kept.json"));
}

void tst_host_documents::whatCannotBeSavedIsSaidAndNeitherClosedNorLost()
{
    QVERIFY(QDir(_folder.path()).mkdir("gone"));
    QString error;
    QVERIFY2(_host->saveDocument(pathOf("gone/plant.json"), &error), qPrintable(error));
    QVERIFY(QDir(pathOf("gone")).removeRecursively());
    change();
    Answer answer(QMessageBox::Save);
    key(Qt::Key_Q, Qt::ControlModifier);
    QCOMPARE(answer.asked, 1);
    QVERIFY(_host->window()->isVisible());
    QVERIFY(isChanged());
    const auto failures = [this] { return _host->notices().filter("could not be saved"); };
    QVERIFY2(failures().value(0).contains("gone/plant.json"), qPrintable(_host->notices().join(' ')));
    QCOMPARE(failures().size(), 1);

    // Another try that fails says so once, and one that does not takes it away.
    key(Qt::Key_S, Qt::ControlModifier);
    QCOMPARE(failures().size(), 1);
    Answer elsewhere(pathOf("elsewhere.json"));
    key(Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(elsewhere.asked, 1);
    QVERIFY(!isChanged());
    QCOMPARE(failures(), QStringList());
}

void tst_host_documents::aFileThatIsNoDocumentIsSaidAndTheOpenOneStays()
{
    QFile file(pathOf("letter.json"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("Dear reader,");
    file.close();
    Answer answer(file.fileName());
    key(Qt::Key_O, Qt::ControlModifier);
    QCOMPARE(answer.asked, 1);
    QCOMPARE(_host->documentPath(), pathOf("plant.json"));
    QVERIFY2(_host->notices().constLast().contains("letter.json is not a system document"),
        qPrintable(_host->notices().constLast()));
    // In the window, until somebody has read it.
    const auto shown = [this] { return noticesIn(_host->window()->contentItem()); };
    QTRY_COMPARE(shown(), _host->notices());
    _host->dismissNotice(static_cast<int>(_host->notices().size()) - 1);
    QTRY_COMPARE(shown(), _host->notices());
}

void tst_host_documents::theLastDocumentsAreListedTheLatestFirst()
{
    QString error;
    QSignalSpy changed(_host.get(), &HostApplication::recentDocumentsChanged);
    for (const char* name : { "one.json", "two.json", "one.json" }) {
        QVERIFY2(_host->saveDocument(pathOf(name), &error), qPrintable(error));
    }
    QVERIFY(!changed.isEmpty());
    QCOMPARE(_host->recentDocuments().mid(0, 3),
        QStringList({ pathOf("one.json"), pathOf("two.json"), pathOf("plant.json") }));

    // With the keyboard alone: the list, one down from the first, taken.
    key(Qt::Key_R, Qt::ControlModifier);
    auto* menu = _host->window()->findChild<QObject*>("recentMenu");
    QVERIFY(menu);
    QTRY_VERIFY(menu->property("opened").toBool());
    key(Qt::Key_Down, Qt::NoModifier);
    key(Qt::Key_Down, Qt::NoModifier);
    key(Qt::Key_Return, Qt::NoModifier);
    QTRY_COMPARE(_host->documentPath(), pathOf("two.json"));
    QTRY_VERIFY(!menu->property("visible").toBool());
    QCOMPARE(_host->recentDocuments().constFirst(), pathOf("two.json"));
}

void tst_host_documents::aRecentDocumentThatIsGoneIsSaidAndForgotten()
{
    QString error;
    QVERIFY2(_host->saveDocument(pathOf("gone.json"), &error), qPrintable(error));
    QVERIFY2(_host->saveDocument(pathOf("plant.json"), &error), qPrintable(error));
    QVERIFY(QFile::remove(pathOf("gone.json")));
    QVERIFY(_host->recentDocuments().contains(pathOf("gone.json")));
    QVERIFY(!_host->openRecentDocumentAsked(pathOf("gone.json")));
    QCOMPARE(_host->documentPath(), pathOf("plant.json"));
    QVERIFY(!_host->recentDocuments().contains(pathOf("gone.json")));
    QVERIFY2(_host->notices().constLast().contains("gone.json"), qPrintable(_host->notices().constLast()));
}

void tst_host_documents::theNetworkIsRememberedWithItsSecurity()
{
    auto* network = NetworkConfiguration::instance();
    network->setprivateCertificate("/own/host.cert_secret");
    network->setpublicCertificates("/known");
    HostSettings().rememberNetwork();
    network->setprivateCertificate({});
    network->setpublicCertificates({});
    HostSettings().restoreNetwork();
    QCOMPARE(network->privateCertificate(), "/own/host.cert_secret");
    QCOMPARE(network->publicCertificates(), "/known");
    QVERIFY(network->isQuenarySecurityActivated());
    // An open network is remembered as one
    network->setprivateCertificate({});
    network->setpublicCertificates({});
    HostSettings().rememberNetwork();
    network->setprivateCertificate("/other");
    HostSettings().restoreNetwork();
    QVERIFY(!network->isQuenarySecurityActivated());
}

void tst_host_documents::theListOfRecentDocumentsIsKeptShortAndCanBeEmptied()
{
    HostSettings settings;
    for (int number = 0; number <= HostSettings::mostRecentDocuments; ++number) {
        settings.rememberDocument(QStringLiteral("/d/%1.json").arg(number));
    }
    QCOMPARE(settings.recentDocuments().size(), HostSettings::mostRecentDocuments);
    QCOMPARE(
        settings.recentDocuments().constFirst(), QStringLiteral("/d/%1.json").arg(HostSettings::mostRecentDocuments));
    QVERIFY(!settings.recentDocuments().contains("/d/0.json"));

    _host->forgetRecentDocuments();
    QCOMPARE(_host->recentDocuments(), QStringList());
    auto* button = _host->window()->findChild<QObject*>("recentDocumentsButton");
    QVERIFY(button);
    QTRY_VERIFY(!button->property("available").toBool());
}

QTEST_MAIN(tst_host_documents)
#include "tst_host_documents.moc"
