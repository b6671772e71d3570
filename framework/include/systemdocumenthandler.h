// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "jsondocumenterror.h"

#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QStringList>
#include <QUrl>

class EncounteredAgentInfo;
class Library;
class RunningAgentInfo;
class SystemDocument;
class SystemView;
class SystemViewBaseInstance;
class SystemViewClass;
class SystemViewClassPlugin;

/// The document that is open, and what is done with documents. One for the process, on the main thread.
///
/// A document opens in this order: the modules' blocks are handed to the plugins; the views with their instances and
/// running agents are made; then the document becomes current, and the modules hear of it once. The document before it
/// is still there while they do, and is deleted later.
class CORVANE_EXPORT SystemDocumentHandler : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("encounteredagentinfo.h")
    Q_MOC_INCLUDE("library.h")
    Q_MOC_INCLUDE("runningagentinfo.h")
    Q_MOC_INCLUDE("systemdocument.h")
    Q_MOC_INCLUDE("systemviewbaseinstance.h")
    Q_PROPERTY(SystemDocument* currentSystemDocument READ currentSystemDocument NOTIFY currentSystemDocumentChanged)
    Q_PROPERTY(Library* library READ library CONSTANT)
    /// What the last failing operation said, in a sentence for the user. Emptied by the next that succeeds.
    Q_PROPERTY(QString errorText READ errorText NOTIFY errorTextChanged)
    /// What the last document opened held that could not be understood, a sentence each; the rest was opened.
    Q_PROPERTY(QStringList warnings READ warnings NOTIFY warningsChanged)

public:
    static SystemDocumentHandler* instance();

    SystemDocument* currentSystemDocument() const;
    /// The current view of the current document, or null.
    SystemView* currentSystemView() const;
    Library* library() const;
    QString errorText() const;
    QStringList warnings() const;

    /// An empty document with one view replaces the current one, saved or not.
    Q_INVOKABLE void newDocument();
    /// Replaces the current document, saved or not. False, with errorText(), when the file cannot be read or is not a
    /// system document: the current one stays.
    Q_INVOKABLE bool openDocument(const QString& filePath);
    Q_INVOKABLE bool openDocument(const QUrl& fileUrl);
    /// To its own file. False, with errorText(), when it has none or the file cannot be written; the file is then as it
    /// was before.
    Q_INVOKABLE bool saveDocument();
    Q_INVOKABLE bool saveDocumentAs(const QString& filePath);
    Q_INVOKABLE bool saveDocumentAs(const QUrl& fileUrl);
    /// No document is open after this.
    Q_INVOKABLE void closeDocument();
    /// Compares what would be saved now with what the file holds, the modules' blocks included.
    Q_INVOKABLE bool hasUnsavedChanges() const;

    /// A new instance of the class in the view; null without a view, class or plugin, or for data that is no instance.
    /// An empty `data` gives a new instance with a free name; else it is what SystemViewBaseInstance::exportToJson()
    /// gave.
    SystemViewBaseInstance* createInstanceFromPlugin(SystemView* systemView, SystemViewClassPlugin* plugin,
        SystemViewClass* systemViewClass, const QPointF& position, const QJsonObject& data);
    /// The same for the current view, by family, at a random place. Null without a current view or for an unknown
    /// family.
    Q_INVOKABLE SystemViewBaseInstance* createInstance(const QString& familyUuid);
    /// The same for another machine: its launch line is for this program there (see SystemDocument::launchOffers). The
    /// class gets the program's name when it is not known yet.
    Q_INVOKABLE SystemViewBaseInstance* createInstanceOnHost(
        const QString& familyUuid, const QString& hostName, const QString& program);
    /// Takes the instance out of its view; its agents that run become unplaced ones. Deleted later.
    Q_INVOKABLE void deleteInstance(SystemViewBaseInstance* instance);
    /// Makes an instance for an agent that was seen on the network, in the current view, under its name and family.
    /// Null, with errorText(), when another instance has that name.
    Q_INVOKABLE SystemViewBaseInstance* placeAgent(RunningAgentInfo* runningAgentInfo);

Q_SIGNALS:
    /// Another document is open, or none. Before this, its modules' blocks were read.
    void currentSystemDocumentChanged();
    /// The current view of the current document is another one (also because the document is).
    void currentSystemViewChanged();
    /// Of the current view only.
    void systemViewBaseInstanceRegistered(SystemViewBaseInstance* instance);
    void systemViewBaseInstanceUnregistered(SystemViewBaseInstance* instance);
    /// Emitted by whoever wants an agent started on another machine; the framework passes it to that machine's
    /// launcher.
    void startAgentRequested(EncounteredAgentInfo* encounteredAgentInfo);
    void errorTextChanged();
    void warningsChanged();
    void documentSaved(const QString& filePath);

private:
    SystemDocumentHandler();
    ~SystemDocumentHandler() override;

    bool _fail(const QString& errorText);
    void _seterrorText(const QString& errorText);
    void _setwarnings(const QStringList& warnings);
    void _setcurrentSystemDocument(SystemDocument* document);
    void _updateCurrentSystemView();
    bool _save(const QString& filePath);
    QJsonObject _exportToJson() const;

    Library* _library;
    SystemDocument* _currentSystemDocument = nullptr;
    SystemView* _announcedSystemView = nullptr; // compared only, never followed
    QString _errorText;
    QStringList _warnings;
    QJsonObject _savedJson;
};
