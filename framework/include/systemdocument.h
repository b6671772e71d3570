// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "jsondocumenterror.h"
#include "networkagents.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QVariantList>

class Host;
class Library;
class RunningAgentInfo;
class SystemView;
class SystemViewBaseInstance;
class SystemViewClassInstance;

/// A system as it is edited: its views, its machines, and the agents of the network as this system sees them. In a file
/// it is a JSON object; beside the keys of reservedKeys() it holds one block per module, under the module's tag.
class CORVANE_EXPORT SystemDocument : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("abstractzqcustomitemlistmodel.h")
    Q_MOC_INCLUDE("systemview.h")
    /// Absolute; empty until it was saved or opened.
    Q_PROPERTY(QString filePath READ filePath NOTIFY filePathChanged)
    /// The file's name without its ending; "Untitled" (translated) without a file.
    Q_PROPERTY(QString name READ name NOTIFY filePathChanged)
    /// Changed since it was opened or saved. See also SystemDocumentHandler::hasUnsavedChanges().
    Q_PROPERTY(bool isModified READ isModified NOTIFY isModifiedChanged)
    Q_PROPERTY(
        SystemView* currentSystemView READ currentSystemView WRITE setcurrentSystemView NOTIFY currentSystemViewChanged)
    /// Of SystemView.
    Q_PROPERTY(AbstractZqCustomItemListModel* systemViews READ systemViewsModel CONSTANT)
    /// Of Host.
    Q_PROPERTY(AbstractZqCustomItemListModel* hosts READ hostsModel CONSTANT)
    /// Of RunningAgentInfo: on the network now, and of no instance of any view.
    Q_PROPERTY(AbstractZqCustomItemListModel* unplacedAgents READ unplacedAgentsModel CONSTANT)
    /// What the launchers of other machines may start, a map each: hostName, program (its path there), familyUuid and
    /// className. See SystemDocumentHandler::createInstanceOnHost().
    Q_PROPERTY(QVariantList launchOffers READ launchOffers NOTIFY launchOffersChanged)

public:
    explicit SystemDocument(Library* library, QObject* parent = nullptr);
    ~SystemDocument() override;

    /// Keys that no module's tag may be.
    static QStringList reservedKeys();

    QString filePath() const;
    QString name() const;
    bool isModified() const;
    SystemView* currentSystemView() const;
    /// Null, or a view of this document.
    void setcurrentSystemView(SystemView* currentSystemView);
    AbstractZqCustomItemListModel* systemViewsModel() const;
    AbstractZqCustomItemListModel* hostsModel() const;
    AbstractZqCustomItemListModel* unplacedAgentsModel() const;
    QVariantList launchOffers() const;
    QList<SystemView*> systemViews() const;
    QList<Host*> hosts() const;
    QList<RunningAgentInfo*> unplacedAgents() const;
    /// Every agent on the network, as this document sees it.
    QList<RunningAgentInfo*> runningAgentInfos() const;
    Library* library() const;

    /// The first view becomes current.
    SystemView* createSystemView(const QString& name);
    Host* getOrCreateHost(const QString& networkName);
    /// The machine on which the host application runs.
    Host* localHost();

    /// Whether the object is a document of a version that this program reads; if not, the reason is appended.
    static bool isReadable(const QJsonObject& json, QList<JsonDocumentError>& errors);
    /// Reads everything but the modules' blocks, which SystemDocumentHandler hands out. False as isReadable() says;
    /// true with errors appended for what was left out.
    bool loadFromJson(const QJsonObject& json, QList<JsonDocumentError>& errors);
    /// Everything, keys that were not understood included; the modules' blocks are those that were read.
    QJsonObject exportToJson() const;

    /// Takes the agents that are on the network now, and follows them. Done before the document becomes current.
    void followNetwork();
    /// Hears no more of the network and announces nothing more: it is about to be replaced.
    void leaveNetwork();

    /// Whether a uuid of this document is new; from then on it is taken. Used while reading and making its objects.
    bool claimUuid(const QString& uuid);

    void setfilePath(const QString& filePath);
    void setisModified(bool isModified);

Q_SIGNALS:
    void filePathChanged();
    void isModifiedChanged();
    void currentSystemViewChanged();
    void launchOffersChanged();
    /// Of any view; SystemDocumentHandler tells the modules.
    void instanceRegistered(SystemView* systemView, SystemViewBaseInstance* instance);
    void instanceUnregistered(SystemView* systemView, SystemViewBaseInstance* instance);

private:
    void _appendSystemView(SystemView* systemView);
    void _onInstanceRegistered(SystemView* systemView, SystemViewBaseInstance* instance);
    void _onInstanceUnregistered(SystemView* systemView, SystemViewBaseInstance* instance);
    void _onAgentEntered(const NetworkAgent& agent);
    void _onAgentUpdated(const NetworkAgent& agent);
    void _onAgentExited(const NetworkAgent& agent);
    QList<SystemViewClassInstance*> _allClassInstances() const;
    RunningAgentInfo* _runningAgentInfo(const QString& uuid) const;
    void _updateLauncherOf(const QString& hostName);
    void _forgetPassedMachines();
    void _matchInstance(SystemViewClassInstance* instance);
    void _updateUnplaced(RunningAgentInfo* agent);
    void _onModified();

    Library* const _library;
    QString _filePath;
    bool _isModified = false;
    bool _followsNetwork = false;
    QPointer<SystemView> _currentSystemView;
    ZqCustomItemListModel<SystemView>* _systemViews;
    ZqCustomItemListModel<Host>* _hosts;
    ZqCustomItemListModel<RunningAgentInfo>* _unplacedAgents;
    QList<RunningAgentInfo*> _runningAgentInfos; // children of this
    QSet<QString> _uuids;
    QHash<QString, QJsonObject> _readHosts; // as they stood in the file, by name
    QJsonObject _otherKeys; // written back as they were read
};
