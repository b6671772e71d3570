// SPDX-License-Identifier: Apache-2.0
// The host's window: making it, drawing it into a file, and what it asks before a document goes.
#include "hostapplication.h"

#include "hostapplication_p.h"
#include "hostsettings.h"
#include "windowpicture.h"

#include <corvanemoduleentry.h>
#include <corvaneqmltypes.h>
#include <pluginmanager.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <theme.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtCore/QStandardPaths>
#include <QtGui/QGuiApplication>
#include <QtGui/QPalette>
#include <QtGui/QScreen>
#include <QtGui/QStyleHints>
#include <QtQml/QQmlApplicationEngine>
#include <QtQuick/QQuickWindow>
#include <QtQuickControls2/QQuickStyle>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

namespace {

constexpr char documentFilter[] = QT_TRANSLATE_NOOP("HostApplication", "System documents (*.json)");

void registerHostTypes()
{
    registerCorvaneQmlTypes();
    [[maybe_unused]] static const int once = qmlRegisterUncreatableType<HostApplication>(
        "Corvane.Host", 1, 0, "HostApplication", QStringLiteral("The host makes its own"));
}

QSize sizeAtStart(const QSize& asked)
{
    if (!asked.isEmpty()) {
        return asked;
    }
    constexpr QSize enough(1280, 800);
    constexpr int frameHeight = 40; // no window manager's title is higher, and none tells before the window is there
    // Where nobody looks there is no screen to fill.
    return QGuiApplication::platformName() == QLatin1String("offscreen")
        ? enough
        : enough.boundedTo(QGuiApplication::primaryScreen()->availableSize() - QSize(0, frameHeight));
}

// Questions and file dialogs are widgets, which follow the desktop: where the other theme was chosen, they follow that.
void dressDialogs()
{
    const Theme& theme = *Theme::instance();
    const bool isDesktopDark = QGuiApplication::styleHints()->colorScheme() == Qt::ColorScheme::Dark;
    if (theme.isDark() == isDesktopDark) {
        QApplication::setPalette(QPalette());
        return;
    }
    QPalette palette(theme.raised(), theme.background());
    for (const auto role : { QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText }) {
        palette.setColor(role, theme.text());
        palette.setColor(QPalette::Disabled, role, theme.mutedText());
    }
    palette.setColor(QPalette::Base, theme.surface());
    palette.setColor(QPalette::AlternateBase, theme.raised());
    palette.setColor(QPalette::ToolTipBase, theme.raised());
    palette.setColor(QPalette::PlaceholderText, theme.mutedText());
    palette.setColor(QPalette::Highlight, theme.accent());
    palette.setColor(QPalette::HighlightedText, theme.accentText());
    QApplication::setPalette(palette);
}

// Shows a dialog above the window and in its middle, though the window is no widget that could be its parent; then the
// window has the keyboard again, also where no window manager gives it back.
int ask(QDialog& dialog, QWindow* window)
{
    if (!window) {
        return dialog.exec();
    }
    dialog.winId();
    dialog.windowHandle()->setTransientParent(window);
    const QPointer<QWindow> kept(window);
    const int answer = dialog.exec();
    if (kept) {
        kept->requestActivate();
    }
    return answer;
}

// Begins in the folder of the open document, or where a person keeps documents. Empty when the person cancelled.
QString askForFile(const QString& what, const QString& documentPath, QFileDialog::AcceptMode mode, QWindow* window)
{
    QFileDialog dialog(nullptr, what, QString(), HostApplication::tr(documentFilter));
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
    const QString folder = documentPath.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
                                                  : QFileInfo(documentPath).absolutePath();
    dialog.setDirectory(QFileInfo(folder).isDir() ? folder : QDir::homePath());
    if (mode == QFileDialog::AcceptSave) {
        // Before the dialog asks whether it is to replace the file of that name.
        dialog.setDefaultSuffix(QStringLiteral("json"));
        dialog.setLabelText(QFileDialog::Accept, HostApplication::tr("Save"));
        dialog.selectFile(documentPath.isEmpty() ? QStringLiteral("system.json") : QFileInfo(documentPath).fileName());
    }
    return ask(dialog, window) == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

} // namespace

bool HostApplication::_createWindow(QString* error)
{
    registerHostTypes();
    if (QGuiApplication::platformName() == QLatin1String("offscreen") && !qEnvironmentVariableIsSet("QSG_RHI_BACKEND")
        && !qEnvironmentVariableIsSet("QT_QUICK_BACKEND")) {
        WindowPicture::drawWithoutGraphicsCard();
    }
    // Too late once a page was read, by an earlier window.
    if (const QString style = QStringLiteral("Basic"); QQuickStyle::name() != style) {
        QQuickStyle::setStyle(style);
    }
    connect(Theme::instance(), &Theme::isDarkChanged, this, &dressDialogs);
    dressDialogs();

    const QString page = _d->options.page;
    const auto entries = PluginManager::instance()->modules();
    if (page.isEmpty()) {
        setCurrentEntry(entries.value(0));
    } else if (!showModule(page == QLatin1String("system") ? QString() : page)) {
        if (error) {
            *error = tr("There is no page \"%1\": no plugin of that tag was loaded.").arg(page);
        }
        return false;
    }

    _d->engine = std::make_unique<QQmlApplicationEngine>();
    QStringList warnings;
    const auto connection
        = connect(_d->engine.get(), &QQmlEngine::warnings, this, [&warnings](const QList<QQmlError>& errors) {
              for (const QQmlError& one : errors) {
                  warnings.append(one.toString());
              }
          });
    const QSize size = sizeAtStart(_d->options.windowSize);
    _d->engine->setInitialProperties({
        { QStringLiteral("host"), QVariant::fromValue(this) },
        { QStringLiteral("width"), size.width() },
        { QStringLiteral("height"), size.height() },
    });
    _d->engine->load(QUrl(QStringLiteral("qrc:/corvane/qml/Main.qml")));
    disconnect(connection);
    if (!window()) {
        if (error) {
            *error = tr("The window cannot be made: %1").arg(warnings.join(QLatin1Char(' ')));
        }
        return false;
    }
    window()->show();
    return true;
}

QQuickWindow* HostApplication::window() const
{
    return _d->engine ? qobject_cast<QQuickWindow*>(_d->engine->rootObjects().value(0)) : nullptr;
}

QQmlApplicationEngine* HostApplication::engine() const
{
    return _d->engine.get();
}

bool HostApplication::screenshot(const QString& path, QString* error)
{
    const auto refuse = [error](const QString& text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    if (!window()) {
        return refuse(tr("There is no window to draw."));
    }

    WindowPicture::settle(*window());
    const QImage image = WindowPicture::draw(*window());
    if (image.isNull()) {
        return refuse(tr("The window could not be drawn."));
    }
    if (!WindowPicture::write(image, path)) {
        return refuse(tr("The picture could not be written to %1; is the folder there and writable?").arg(path));
    }
    return true;
}

// ---- what is asked --------------------------------------------------------------------------------------------------

bool HostApplication::_mayReplaceDocument()
{
    if (!SystemDocumentHandler::instance()->hasUnsavedChanges()) {
        return true;
    }
    QMessageBox question(QMessageBox::Question, documentName(),
        tr("Save the changes of \"%1\" before it is closed?").arg(documentName()),
        QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    question.setTextFormat(Qt::PlainText);
    if (!SystemDocumentHandler::instance()->currentSystemDocument()->isModified()) {
        question.setInformativeText(
            tr("The system itself did not change, only what modules keep with it, such as a file or a filter."));
    }
    question.setDefaultButton(QMessageBox::Save);
    question.button(QMessageBox::Save)->setText(tr("Save")); // as on its button, in every language
    switch (ask(question, window())) {
    case QMessageBox::Save:
        return saveDocumentAsked(false);
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

bool HostApplication::mayClose()
{
    return _mayReplaceDocument();
}

bool HostApplication::createDocumentAsked()
{
    if (!_mayReplaceDocument()) {
        return false;
    }
    newDocument();
    return true;
}

bool HostApplication::openDocumentAsked()
{
    if (!_mayReplaceDocument()) {
        return false;
    }
    const QString path = askForFile(tr("Open a system document"), documentPath(), QFileDialog::AcceptOpen, window());
    if (path.isEmpty()) {
        return false;
    }
    QString error;
    if (!openDocument(path, &error)) {
        addNotice(error);
        return false;
    }
    return true;
}

bool HostApplication::openRecentDocumentAsked(const QString& path)
{
    if (!_mayReplaceDocument()) {
        return false;
    }
    QString error;
    if (!openDocument(path, &error)) {
        addNotice(error);
        HostSettings().forgetDocument(path);
        Q_EMIT recentDocumentsChanged();
        return false;
    }
    return true;
}

bool HostApplication::saveDocumentAsked(bool underANewName)
{
    QString path;
    if (underANewName || documentPath().isEmpty()) {
        path = askForFile(tr("Save the system document"), documentPath(), QFileDialog::AcceptSave, window());
        if (path.isEmpty()) {
            return false;
        }
    }
    QString error;
    if (!saveDocument(path, &error)) {
        _takeBackSaveProblem();
        _d->saveProblem = error;
        addNotice(error);
        return false;
    }
    return true;
}
