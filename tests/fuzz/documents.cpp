// SPDX-License-Identifier: Apache-2.0
// Documents of the host, whoever sent them.
#include "fuzz.h"
#include "quiet.h"

#include "documentkeys.h"
#include "encounteredagentinfo.h"
#include "encounteredagentsonhost.h"
#include "library.h"
#include "systemdocument.h"
#include "systemview.h"
#include "systemviewclass.h"
#include "systemviewclassinstance.h"

#include <QJsonDocument>
#include <QSet>

namespace {

void checkNames(const SystemDocument& document)
{
    fuzz::expect(document.currentSystemView() != nullptr, "a document that was read has a current view");
    QSet<QString> uuids;
    const auto claim = [&uuids](const QString& uuid) {
        fuzz::expect(!uuid.isEmpty() && !uuids.contains(uuid), "everything has a uuid of its own");
        uuids.insert(uuid);
    };
    for (const SystemView* view : document.systemViews()) {
        claim(view->uuid());
        QSet<QString> names;
        for (const SystemViewClassInstance* instance : view->getAllClassInstances()) {
            claim(instance->uuid());
            fuzz::expect(!names.contains(instance->name()), "no two instances of a view have the same name");
            names.insert(instance->name());
            for (const EncounteredAgentsOnHost* group : instance->encounteredAgentsOnHosts()) {
                for (const EncounteredAgentInfo* info : group->encounteredAgentInfos()) {
                    claim(info->uuid());
                    fuzz::expect(!info->splitCommandLine().isEmpty(), "a launch line names a program");
                }
            }
        }
    }
}

// The document as it would be saved, or nothing when it is not readable. As often as something was left out or changed,
// an error says so.
QJsonObject readAndWrite(const QJsonObject& json, bool& isRead, qsizetype& errorCount)
{
    Library library;
    SystemDocument document(&library);
    QList<JsonDocumentError> errors;
    isRead = document.loadFromJson(json, errors);
    errorCount = errors.size();
    QList<JsonDocumentError> again;
    fuzz::expect(isRead == SystemDocument::isReadable(json, again), "what is readable is read");
    if (!isRead) {
        fuzz::expect(!errors.isEmpty(), "what is not read is told");
        return {};
    }
    checkNames(document);
    return document.exportToJson();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool isReady = (fuzz::beQuiet(), fuzz::application(), true);
    fuzz::expect(isReady, "there is an application");
    const QJsonDocument parsed
        = QJsonDocument::fromJson(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    if (!parsed.isObject()) {
        return 0;
    }
    bool isRead = false;
    qsizetype errorCount = 0;
    const QJsonObject json = DocumentKeys::withoutZerosInKeys(parsed.object()).toObject();
    const QJsonObject written = readAndWrite(json, isRead, errorCount);
    if (isRead) {
        const QJsonObject saved = QJsonDocument::fromJson(QJsonDocument(written).toJson()).object();
        fuzz::expect(!saved.isEmpty(), "what is saved is JSON");
        qsizetype errorCountOfSaved = 0;
        const QJsonObject again = readAndWrite(saved, isRead, errorCountOfSaved);
        fuzz::expect(isRead, "what is saved can be opened");
        // Halves of characters do not survive in a file, so that texts that differ in them only become the same.
        if (saved == written) {
            if (again != saved) {
                std::fprintf(stderr, "%s\n%s\n", QJsonDocument(saved).toJson().constData(),
                    QJsonDocument(again).toJson().constData());
            }
            fuzz::expect(again == saved, "a document that was saved opens as it was");
            fuzz::expect(errorCountOfSaved <= errorCount, "and has no errors that it had not before");
        }
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
