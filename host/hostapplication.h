// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_HOSTAPPLICATION_H
#define CORVANE_HOSTAPPLICATION_H

#include <QtCore/QObject>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

#include <memory>

class QQmlApplicationEngine;
class QQuickWindow;
class SamplePlant;

// What the command line may settle. Empty and 0 mean "not given": what was remembered from the last run, then the
// environment, then the default holds.
struct HostOptions {
    QString documentPath; // a document to open; empty: the sample document in the user's data directory
    QString device; // network device by name or address
    quint16 port = 0; // UDP port of discovery
    QString peers; // "host:port,host:port"
    QString pluginsDirectory; // empty: <directory of the program>/../plugins/extension-plugins
    QString theme; // "light", "dark"; empty: what the desktop uses
    QString plantJournalDirectory; // each sample agent writes "<agent name>.journal" there; empty: no journals
    QSize windowSize = QSize(1280, 800); // in device-independent pixels
    bool connectToNetwork = true;
    bool withPlant = false; // start the sample plant once the network is joined
    bool withWindow = true; // false: no QML engine at all (windowless tests of documents and plugins)
    bool rememberNetwork = true; // false: neither read nor written, for tests and tours
};

// The host program without its main(): loads the plugins, holds the document, joins the network and shows the window.
// Lives on the main thread, after a QApplication was made and before it goes. One a process: the framework's managers are
// singletons.
class HostApplication : public QObject
{
    Q_OBJECT

    // What the person must know and can mend, each a sentence; shown at the top of the window and on standard error.
    Q_PROPERTY(QStringList notices READ notices NOTIFY noticesChanged)
    Q_PROPERTY(QString documentPath READ documentPath NOTIFY documentPathChanged)
    Q_PROPERTY(QString documentName READ documentName NOTIFY documentPathChanged)
    Q_PROPERTY(bool isPlantRunning READ isPlantRunning NOTIFY isPlantRunningChanged)
    Q_PROPERTY(bool isPlantAvailable READ isPlantAvailable CONSTANT)
    // Name, icon, label and page of each module, in the order in which the plugins were loaded:
    // list of {tag, name, label, icon, page, module}.
    Q_PROPERTY(QVariantList modules READ modules NOTIFY modulesChanged)
    // The tag of the module whose page is shown; empty: the system view.
    Q_PROPERTY(QString currentModuleTag READ currentModuleTag WRITE setCurrentModuleTag NOTIFY currentModuleTagChanged)

public:
    explicit HostApplication(QObject* parent = nullptr);
    ~HostApplication() override;

    // False with one sentence in *error when the host cannot go on (no plugin, a bad document, network refused); nothing
    // is left running then. Call once.
    bool start(const HostOptions& options, QString* error);
    // Ends the plant, leaves the network, destroys window and modules. The destructor calls it.
    void stop();

    // The object that the plugin of this JSON tag created ("recordAndReplay"), or null. Owned by the host.
    QObject* module(const QString& jsonTag) const;
    QVariantList modules() const;

    // Each false with one sentence in *error (which may be null); the document that was open then stays open.
    bool openDocument(const QString& path, QString* error);
    bool saveDocument(const QString& path, QString* error); // an empty path: the file that it came from
    void newDocument();

    // For the window's dialogs; what goes wrong becomes a notice. True when done.
    Q_INVOKABLE bool openDocumentUrl(const QUrl& url);
    Q_INVOKABLE bool saveDocumentUrl(const QUrl& url);
    Q_INVOKABLE void createDocument();
    Q_INVOKABLE void dismissNotice(int index);

    Q_INVOKABLE bool startPlant();
    Q_INVOKABLE void stopPlant();
    // Never null after start(); its agents join the network that the host uses.
    SamplePlant* plant() const;

    bool isPlantRunning() const;
    bool isPlantAvailable() const;

    // Null without a window. Both work with QT_QPA_PLATFORM=offscreen.
    QQuickWindow* window() const;
    QQmlApplicationEngine* engine() const;
    // Draws the window into a PNG file after the pages have settled (spins the event loop for up to two seconds).
    bool screenshot(const QString& path, QString* error);
    // "light", "dark", or empty for the desktop's.
    void setTheme(const QString& theme);

    // Stored with the document's path and name; what the host was started with once start() has settled it.
    const HostOptions& options() const;
    QStringList notices() const;
    QString documentPath() const;
    QString documentName() const;
    QString currentModuleTag() const;
    void setCurrentModuleTag(const QString& jsonTag);

    // Where the parts are looked for, from the directory of the program.
    static QString defaultPluginsDirectory();
    static QString sampleAgentsDirectory();
    static QString recorderExecutable();

Q_SIGNALS:
    void noticesChanged();
    void documentPathChanged();
    void isPlantRunningChanged();
    void modulesChanged();
    void currentModuleTagChanged();

private:
    void _addNotice(const QString& notice);
    bool _loadPlugins(QString* error);
    bool _joinNetwork(QString* error);
    bool _createWindow(QString* error);
    QString _sampleDocument(QString* error) const;
    void _setDocumentPath(const QString& path);

    struct Private;
    std::unique_ptr<Private> _d;
};

#endif
