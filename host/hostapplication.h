// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_HOSTAPPLICATION_H
#define CORVANE_HOSTAPPLICATION_H

#include <QtCore/QObject>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

class CorvaneModuleEntry;
class QQmlApplicationEngine;
class QQuickWindow;
class SamplePlant;

// What the command line may settle. Empty and 0 mean "not given": of the network, each part is then as the environment
// says, else as it was remembered from the last run, else the default.
struct HostOptions
{
    QString documentPath; // a document to open; empty: the sample document in the user's data directory
    QString device; // network device by name or address
    quint16 port = 0; // UDP port of discovery
    QString peers; // "host:port,host:port"
    QString privateCertificate; // path of a file; with the next one or not at all
    QString publicCertificates; // path of a folder
    QString pluginsDirectory; // empty: <directory of the program>/../plugins/extension-plugins
    QString theme; // "light", "dark"; empty: what the desktop uses
    QString page; // tag of the module shown first, or "system"; empty: the first module
    QString plantJournalDirectory; // each sample agent writes "<agent name>.journal" there; empty: no journals
    QSize windowSize; // in device-independent pixels; empty: 1280 by 800, or what the screen has room for
    bool connectToNetwork = true;
    bool withPlant = false; // start the sample plant once the network is joined
    bool withWindow = true; // false: no QML engine at all (windowless tests of documents and plugins)
    bool rememberSettings = true; // false: neither read nor written, for tests and tours
};

// The host program without its main(): loads the plugins, holds the document, joins the network and shows the window.
// Lives on the main thread, after a QApplication was made and before it goes. One a process: the framework's managers
// are singletons.
class HostApplication : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("corvanemoduleentry.h")

    // What the person must know and can mend, each a sentence; shown at the top of the window and on standard error.
    Q_PROPERTY(QStringList notices READ notices NOTIFY noticesChanged)
    Q_PROPERTY(QString documentPath READ documentPath NOTIFY documentPathChanged)
    Q_PROPERTY(QString documentName READ documentName NOTIFY documentPathChanged)
    // Paths, the latest first; empty when nothing is remembered.
    Q_PROPERTY(QStringList recentDocuments READ recentDocuments NOTIFY recentDocumentsChanged)
    Q_PROPERTY(bool isPlantRunning READ isPlantRunning NOTIFY isPlantRunningChanged)
    Q_PROPERTY(bool isPlantAvailable READ isPlantAvailable CONSTANT)
    // The module whose page is shown, one of PluginManager's; null: the system view.
    Q_PROPERTY(CorvaneModuleEntry* currentEntry READ currentEntry WRITE setCurrentEntry NOTIFY currentEntryChanged)

public:
    explicit HostApplication(QObject* parent = nullptr);
    ~HostApplication() override;

    // False with one sentence in *error when the host cannot go on (no plugin, a bad document, network refused);
    // nothing is left running then. Call once.
    bool start(const HostOptions& options, QString* error);
    // Ends the plant, leaves the network, destroys window and modules. The destructor calls it.
    void stop();

    // The object that the plugin of this JSON tag created ("recordAndReplay"), or null. Owned by the host.
    QObject* module(const QString& jsonTag) const;

    // Each false with one sentence in *error (which may be null); the document that was open then stays open.
    bool openDocument(const QString& path, QString* error);
    bool saveDocument(const QString& path, QString* error); // an empty path: the file that it came from
    void newDocument();

    // For the window: they ask what must be asked (which file, whether changes are to be saved), and what goes wrong
    // becomes a notice. False when the person cancelled or it went wrong.
    Q_INVOKABLE bool createDocumentAsked();
    Q_INVOKABLE bool openDocumentAsked();
    // One that is gone, or is no document any more, is no recent one either.
    Q_INVOKABLE bool openRecentDocumentAsked(const QString& path);
    Q_INVOKABLE void forgetRecentDocuments();
    Q_INVOKABLE bool saveDocumentAsked(bool underANewName);
    // Whether the window may close now.
    Q_INVOKABLE bool mayClose();
    // Each notice is also written to standard error; one that stands there already is not shown twice.
    Q_INVOKABLE void addNotice(const QString& notice);
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

    // What the host was started with; the plugins' directory as it was settled.
    const HostOptions& options() const;
    QStringList notices() const;
    QString documentPath() const;
    QString documentName() const;
    QStringList recentDocuments() const;
    CorvaneModuleEntry* currentEntry() const;
    void setCurrentEntry(CorvaneModuleEntry* entry);
    // The same by JSON tag; an empty tag shows the system view. False for an unknown tag.
    bool showModule(const QString& jsonTag);

    // Where the parts are looked for, from the directory of the program.
    static QString defaultPluginsDirectory();
    static QString sampleAgentsDirectory();
    static QString recorderExecutable();

Q_SIGNALS:
    void noticesChanged();
    void documentPathChanged();
    void recentDocumentsChanged();
    void isPlantRunningChanged();
    void currentEntryChanged();

private:
    bool _loadPlugins(QString* error);
    void _createModules();
    bool _openFirstDocument(QString* error);
    bool _joinNetwork(QString* error);
    bool _createWindow(QString* error);
    bool _mayReplaceDocument();
    void _rememberNetwork() const;
    void _rememberDocument();
    void _takeBackSaveProblem();

    struct Private;
    std::unique_ptr<Private> _d;
};

#endif
