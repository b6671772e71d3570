// SPDX-License-Identifier: Apache-2.0
#include "hostapplication.h"

#include "hostapplication_p.h"
#include "hostsettings.h"
#include "sampledocument.h"
#include "terminaltext.h"

#include <corvanemodule.h>
#include <corvanemoduleentry.h>
#include <corvanemoduleplugin.h>
#include <networkconfiguration.h>
#include <pluginmanager.h>
#include <recorderclassplugin.h>
#include <reservedextensions.h>
#include <systemdocument.h>
#include <systemdocumenthandler.h>
#include <systemviewmanager.h>
#include <theme.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <cstdio>

namespace {

constexpr qsizetype MOST_NOTICES = 20;

void setError(QString* error, const QString& text)
{
    if (error) {
        *error = text;
    }
}

QString besideProgram(const QString& relativePath)
{
    return QDir::cleanPath(QCoreApplication::applicationDirPath() + QLatin1Char('/') + relativePath);
}

HostSettings::NetworkParts namedBy(const HostOptions& options)
{
    HostSettings::NetworkParts named;
    named.setFlag(HostSettings::Device, !options.device.isEmpty());
    named.setFlag(HostSettings::Port, options.port != 0);
    named.setFlag(HostSettings::Peers, !options.peers.isEmpty());
    named.setFlag(
        HostSettings::Security, !options.privateCertificate.isEmpty() || !options.publicCertificates.isEmpty());
    return named;
}

} // namespace

HostApplication::HostApplication(QObject* parent)
    : QObject(parent)
    , _d(std::make_unique<Private>())
{
}

HostApplication::~HostApplication()
{
    stop();
}

QString HostApplication::defaultPluginsDirectory()
{
    return besideProgram(QStringLiteral("../plugins/extension-plugins"));
}

QString HostApplication::sampleAgentsDirectory()
{
    return besideProgram(QStringLiteral("../agents/samples"));
}

QString HostApplication::recorderExecutable()
{
    return RecorderClassPlugin::executablePath();
}

bool HostApplication::start(const HostOptions& options, QString* error)
{
    _d->options = options;
    _d->isStarted = true;
    _d->plant = std::make_unique<SamplePlant>();
    connect(_d->plant.get(), &SamplePlant::runningChanged, this, &HostApplication::isPlantRunningChanged);
    connect(_d->plant.get(), &SamplePlant::agentFailed, this, [this](const QString& agentName, const QString& reason) {
        addNotice(tr("The sample agent \"%1\" failed: %2.").arg(agentName, reason));
    });
    connect(SystemDocumentHandler::instance(), &SystemDocumentHandler::currentSystemDocumentChanged, this,
        &HostApplication::documentPathChanged);
    connect(SystemDocumentHandler::instance(), &SystemDocumentHandler::documentSaved, this,
        &HostApplication::documentPathChanged);
    connect(SystemDocumentHandler::instance(), &SystemDocumentHandler::documentSaved, this,
        &HostApplication::_takeBackSaveProblem);
    connect(this, &HostApplication::documentPathChanged, this, &HostApplication::_rememberDocument);
    connect(SystemViewManager::instance(), &SystemViewManager::problemRaised, this, &HostApplication::addNotice);
    setTheme(options.theme);

    const QString recorderProblem = RecorderClassPlugin::executableProblem();
    if (!recorderProblem.isEmpty()) {
        addNotice(recorderProblem);
    }

    // The modules read their blocks of the document when they are made.
    bool isGood = _loadPlugins(error) && _openFirstDocument(error);
    if (isGood) {
        _createModules();
        isGood = (!options.connectToNetwork || _joinNetwork(error)) && (!options.withWindow || _createWindow(error));
    }
    if (!isGood) {
        stop();
        return false;
    }
    // Not before: its agents would be on an open network while the host waits to be secured.
    if (options.withPlant && (NetworkConfiguration::instance()->isConnected() || !options.connectToNetwork)) {
        startPlant();
    }
    return true;
}

void HostApplication::stop()
{
    if (!_d->isStarted) {
        return;
    }
    _d->isStarted = false;
    _d->plant->stop();
    // Pages first: they look at everything else.
    _d->engine.reset();
    PluginManager::instance()->destroyModules();
    NetworkConfiguration::instance()->disconnectFromNetwork();
    SystemDocumentHandler::instance()->disconnect(this);
    SystemViewManager::instance()->disconnect(this);
    NetworkConfiguration::instance()->disconnect(this);
    SystemDocumentHandler::instance()->closeDocument();
}

// ---- parts of the start ---------------------------------------------------------------------------------------------

bool HostApplication::_loadPlugins(QString* error)
{
    if (_d->options.pluginsDirectory.isEmpty()) {
        _d->options.pluginsDirectory = defaultPluginsDirectory();
    }
    auto* manager = PluginManager::instance();
    const int loaded = manager->loadPlugins(_d->options.pluginsDirectory);
    if (loaded == 0 && manager->modules().isEmpty()) {
        const QString reason = manager->errors().isEmpty()
            ? tr("The folder %1 holds none.").arg(QDir::toNativeSeparators(_d->options.pluginsDirectory))
            : manager->errors().join(QLatin1Char(' '));
        setError(error, tr("No module plugin was loaded. %1 Another folder can be named with --plugins.").arg(reason));
        return false;
    }
    for (const QString& problem : manager->errors()) {
        addNotice(problem);
    }
    return true;
}

void HostApplication::_createModules()
{
    // Record & Replay needs its recorder: without the program its module is left out, and its page says so.
    const bool hasRecorder = QFileInfo::exists(recorderExecutable());
    for (CorvaneModuleEntry* entry : PluginManager::instance()->modules()) {
        if (!hasRecorder && entry->plugin()->uuid() == ReservedExtensions::RECORD_AND_REPLAY) {
            continue;
        }
        if (!entry->createModule()) {
            addNotice(tr("The module of %1 could not be created.").arg(entry->name()));
        }
    }
}

bool HostApplication::_openFirstDocument(QString* error)
{
    QString path = _d->options.documentPath;
    if (path.isEmpty()) {
        path = SampleDocument::provide(sampleAgentsDirectory(), error);
    }
    return !path.isEmpty() && openDocument(path, error);
}

bool HostApplication::_joinNetwork(QString* error)
{
    auto* network = NetworkConfiguration::instance();
    const HostOptions& options = _d->options;

    // Each part from the command line, else the environment (which the framework reads), else as it was used last:
    // whoever names another device or port stays on a secured network.
    const HostSettings::NetworkParts typed = namedBy(options);
    const HostSettings::NetworkParts named = typed | HostSettings::namedByEnvironment();
    bool wasSecured = false;
    QString problem;
    if (options.rememberSettings) {
        HostSettings settings;
        wasSecured = settings.restoreNetwork(named);
        if (!named.testFlag(HostSettings::Security) && !settings.unreadableFile().isEmpty()) {
            wasSecured = true; // for all one knows
            problem = tr("%1 cannot be read, so it is not known whether the network was secured.")
                          .arg(QDir::toNativeSeparators(settings.unreadableFile()));
        }
    }
    if (!options.device.isEmpty()) {
        network->setdevice(options.device);
    }
    if (options.port != 0) {
        network->setport(options.port);
    }
    if (!options.peers.isEmpty()) {
        network->setpeers(options.peers);
    }
    if (typed.testFlag(HostSettings::Security)) {
        network->setprivateCertificate(options.privateCertificate);
        network->setpublicCertificates(options.publicCertificates);
    }
    connect(network, &NetworkConfiguration::isConnectedChanged, this, &HostApplication::_rememberNetwork);
    if (problem.isEmpty()) {
        if (network->connectToNetwork()) {
            return true;
        }
        problem = network->errorText();
    }
    // What somebody asked for just now is refused; what was remembered can be changed in the window. Nobody is kept
    // from that by a variable of the environment when certificates that were remembered are gone.
    const bool isAskedFor = named && !wasSecured;
    problem = tr("The network cannot be joined: %1").arg(problem);
    if (isAskedFor || !options.rememberSettings || !options.withWindow) {
        setError(error, problem);
        return false;
    }
    addNotice(problem);
    return true;
}

void HostApplication::_rememberNetwork() const
{
    if (_d->options.rememberSettings && NetworkConfiguration::instance()->isConnected()) {
        HostSettings().rememberNetwork();
    }
}

// ---- modules --------------------------------------------------------------------------------------------------------

QObject* HostApplication::module(const QString& jsonTag) const
{
    for (const CorvaneModuleEntry* entry : PluginManager::instance()->modules()) {
        if (entry->plugin()->jsonTag() == jsonTag) {
            return entry->module();
        }
    }
    return nullptr;
}

CorvaneModuleEntry* HostApplication::currentEntry() const
{
    return _d->currentEntry;
}

void HostApplication::setCurrentEntry(CorvaneModuleEntry* entry)
{
    if (_d->currentEntry != entry) {
        _d->currentEntry = entry;
        Q_EMIT currentEntryChanged();
    }
}

bool HostApplication::showModule(const QString& jsonTag)
{
    if (jsonTag.isEmpty()) {
        setCurrentEntry(nullptr);
        return true;
    }
    for (CorvaneModuleEntry* entry : PluginManager::instance()->modules()) {
        if (entry->plugin()->jsonTag() == jsonTag) {
            setCurrentEntry(entry);
            return true;
        }
    }
    return false;
}

// ---- document -------------------------------------------------------------------------------------------------------

bool HostApplication::openDocument(const QString& path, QString* error)
{
    auto* handler = SystemDocumentHandler::instance();
    if (!handler->openDocument(path)) {
        setError(error, handler->errorText());
        return false;
    }
    for (const QString& warning : handler->warnings()) {
        addNotice(warning);
    }
    return true;
}

bool HostApplication::saveDocument(const QString& path, QString* error)
{
    auto* handler = SystemDocumentHandler::instance();
    const bool isSaved = path.isEmpty() ? handler->saveDocument() : handler->saveDocumentAs(path);
    if (!isSaved) {
        setError(error, handler->errorText());
    }
    return isSaved;
}

void HostApplication::newDocument()
{
    SystemDocumentHandler::instance()->newDocument();
}

QString HostApplication::documentPath() const
{
    const auto* document = SystemDocumentHandler::instance()->currentSystemDocument();
    return document ? document->filePath() : QString();
}

QString HostApplication::documentName() const
{
    const auto* document = SystemDocumentHandler::instance()->currentSystemDocument();
    return document ? document->name() : QString();
}

QStringList HostApplication::recentDocuments() const
{
    return _d->options.rememberSettings ? HostSettings().recentDocuments() : QStringList();
}

void HostApplication::_rememberDocument()
{
    if (_d->isStarted && _d->options.rememberSettings && !documentPath().isEmpty()) {
        HostSettings().rememberDocument(documentPath());
        Q_EMIT recentDocumentsChanged();
    }
}

void HostApplication::forgetRecentDocuments()
{
    HostSettings().forgetDocuments();
    Q_EMIT recentDocumentsChanged();
}

// ---- the plant ------------------------------------------------------------------------------------------------------

bool HostApplication::startPlant()
{
    // The environment already names the network that the host is on, once it is on one.
    const auto* network = NetworkConfiguration::instance();
    SamplePlantOptions options;
    options.agentsDirectory = sampleAgentsDirectory();
    options.device = network->device();
    options.port = static_cast<quint16>(network->port());
    options.peers = network->peers();
    options.journalDirectory = _d->options.plantJournalDirectory;
    QString error;
    if (!_d->plant->start(options, &error)) {
        addNotice(error);
        return false;
    }
    return true;
}

void HostApplication::stopPlant()
{
    _d->plant->stop();
}

SamplePlant* HostApplication::plant() const
{
    return _d->plant.get();
}

bool HostApplication::isPlantRunning() const
{
    return _d->plant && _d->plant->isRunning();
}

bool HostApplication::isPlantAvailable() const
{
    return SamplePlant::missingPrograms(sampleAgentsDirectory()).isEmpty();
}

// ---- the rest -------------------------------------------------------------------------------------------------------

const HostOptions& HostApplication::options() const
{
    return _d->options;
}

QStringList HostApplication::notices() const
{
    return _d->notices;
}

void HostApplication::addNotice(const QString& notice)
{
    if (!_d->notices.contains(notice)) {
        // An agent's last lines are in it, which must not look like lines of another program.
        std::fprintf(
            stderr, "corvane: %s\n", qUtf8Printable(terminalText(notice).replace(u'\n', QLatin1String("\ncorvane: "))));
        // Others may have much to say: each stands there until somebody has read it, the latest above all.
        if (_d->notices.size() >= MOST_NOTICES) {
            _d->notices.removeFirst();
        }
        _d->notices.append(notice);
        Q_EMIT noticesChanged();
    }
}

void HostApplication::dismissNotice(int index)
{
    if (index >= 0 && index < _d->notices.size()) {
        _d->notices.removeAt(index);
        Q_EMIT noticesChanged();
    }
}

// It was mended, or another one took its place.
void HostApplication::_takeBackSaveProblem()
{
    dismissNotice(static_cast<int>(_d->notices.indexOf(_d->saveProblem)));
}

void HostApplication::setTheme(const QString& theme)
{
    Theme::instance()->setmode(theme == QLatin1String("light") ? Theme::Light
            : theme == QLatin1String("dark")                   ? Theme::Dark
                                                               : Theme::FollowDesktop);
}
