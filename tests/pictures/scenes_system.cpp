// SPDX-License-Identifier: Apache-2.0
#include "stage.h"

#include <encounteredagentinfo.h>
#include <encounteredagentsonhost.h>
#include <launchers.h>
#include <networkconfiguration.h>
#include <reservedagentandtoolfamilies.h>
#include <sampleplant.h>
#include <systemviewclassinstance.h>
#include <systemviewmanager.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QUuid>

namespace {

void runPlant(Stage& stage)
{
    const QStringList agents = SamplePlant::agentNames();
    for (const QString& agent : agents) {
        stage.run(agent);
    }
}

void empty(Stage& stage)
{
    stage.host().newDocument();
}

void off(Stage&) { }

void running(Stage& stage)
{
    runPlant(stage);
    Stage::started(stage.recorder());
    Stage::runStranger(QStringLiteral("Boiler"), QStringLiteral("bench-02"));
}

/// Names that are long, or look like something else.
void strangers(Stage& stage)
{
    stage.host().newDocument();
    Stage::runStranger(
        QStringLiteral("<b>Turbine</b> of the second building, which has a name that is too long for its row"),
        QStringLiteral("a-machine-with-a-long-name.plant.example"));
    Stage::runStranger(QStringLiteral("Boiler"), QStringLiteral("<i>bench-02</i>"));
}

void replayed(Stage& stage)
{
    Stage::started(stage.recorder());
    Stage::runStranger(QStringLiteral("Pump C"), QStringLiteral("bench-02"), true);
    stage.run(QStringLiteral("Tank"), QStringLiteral("bench-02"));
}

void offline(Stage& stage)
{
    Q_UNUSED(stage)
    NetworkConfiguration::instance()->disconnectFromNetwork();
}

void network(Stage& stage)
{
    stage.click(QStringLiteral("networkButton"));
}

void networkRefused(Stage& stage)
{
    offline(stage);
    stage.click(QStringLiteral("networkButton"));
    QuenaryDouble::script(QStringLiteral("qny_start"), QNY_ERROR_PORT_IN_USE);
    stage.click(QStringLiteral("connectNetworkButton"));
    stage.announcedWarnings.append(NetworkConfiguration::instance()->errorText());
}

/// An own key that is one, and a folder that is none.
void networkSecured(Stage& stage)
{
    QFile certificate(stage.folder() + QStringLiteral("/control-room.cert_secret"));
    QVERIFY(certificate.open(QFile::WriteOnly));
    offline(stage);
    stage.click(QStringLiteral("networkButton"));
    stage.fill(QStringLiteral("privateCertificateField"), certificate.fileName(), false);
    stage.fill(QStringLiteral("publicCertificatesField"), QStringLiteral("/etc/plant/certificates"), false);
}

/// Of the certificates in the folder one is refused: the others are named all the same.
void networkCertificates(Stage& stage)
{
    const QDir folder(stage.folder());
    QVERIFY(folder.mkdir(QStringLiteral("known")));
    for (const char* const name : { "boiler.cert", "control-room.cert", "notes.txt", "pump-house.cert" }) {
        QFile certificate(folder.filePath(QStringLiteral("known/") + QLatin1String(name)));
        QVERIFY(certificate.open(QFile::WriteOnly));
    }
    QFile own(folder.filePath(QStringLiteral("control-room.cert_secret")));
    QVERIFY(own.open(QFile::WriteOnly));
    offline(stage);
    stage.click(QStringLiteral("networkButton"));
    stage.fill(QStringLiteral("privateCertificateField"), own.fileName(), false);
    stage.fill(QStringLiteral("publicCertificatesField"), folder.filePath(QStringLiteral("known")), false);
}

void notices(Stage& stage)
{
    stage.host().addNotice(QStringLiteral("The sample agent \"Pump A\" failed: it ended with exit status 1."));
    stage.host().addNotice(
        QStringLiteral("/home/operator/plants/<b>north</b>/water-plant.json could not be written: there is no "
                       "space left on the device. Save it elsewhere, or make room and save it again."));
}

void deletion(Stage& stage)
{
    stage.click(QStringLiteral("deleteInstanceButton"), 1);
}

void runLauncher(const QString& machine)
{
    QuenaryDouble::Agent launcher;
    launcher.uuid = QUuid::createUuidV5(QUuid(), machine).toString(QUuid::WithoutBraces);
    launcher.name = QStringLiteral("Launcher");
    launcher.family = ReservedAgentAndToolFamilies::LAUNCHER_CLASS_UUID;
    launcher.hostName = machine;
    launcher.executable = QStringLiteral("/opt/record-and-replay/agents/qnyLauncher/qnyLauncher");
    ModuleFixture::enter(launcher);
}

/// A launcher for others on the only machine.
void launcherHere(Stage& stage)
{
    runPlant(stage);
    runLauncher(NetworkConfiguration::instance()->localNetworkName());
}

/// Two recorders on other machines, one of which has a launcher.
void machines(Stage& stage)
{
    stage.host().newDocument();
    runLauncher(QStringLiteral("pump-house"));
    stage.addRecorder(QStringLiteral("Pump house recorder"), {}, QStringLiteral("pump-house"));
    stage.addRecorder(QStringLiteral("Bench recorder"), {}, QStringLiteral("bench-02"));
    stage.addRecorder(QStringLiteral("Plant recorder"), {});
}

/// What a launcher tells of a line, as the framework puts it.
void launchFailed(const Stage& stage, const QString& name, const QString& message, bool canBeEnded)
{
    SystemViewClassInstance* const instance = stage.instance(name);
    EncounteredAgentInfo* const line = instance->encounteredAgentsOnHosts().at(0)->encounteredAgentInfos().at(0);
    Q_EMIT instance->launchFailed(line, message, canBeEnded);
    SystemViewManager::instance()->raiseProblem(message);
}

void launchEndedBadly(Stage& stage)
{
    machines(stage);
    launchFailed(stage, QStringLiteral("Pump house recorder"),
        Launchers::tr("%1 It said last:\n%2")
            .arg(Launchers::tr("\"%1\" ended on %2 with status %3.")
                     .arg(QStringLiteral("Pump house recorder"), QStringLiteral("pump-house"))
                     .arg(1),
                QStringLiteral("qnyRecorder: cannot write into the data directory /var/records (Permission denied); "
                               "name another with --data-directory")),
        false);
}

void launchHidden(Stage& stage)
{
    machines(stage);
    launchFailed(stage, QStringLiteral("Pump house recorder"),
        Launchers::tr(
            "\"%1\" runs on %2 already, as process %3, but does not answer. End it there, then connect it again.")
            .arg(QStringLiteral("Pump house recorder"), QStringLiteral("pump-house"))
            .arg(20714),
        true);
}

void launchEnd(Stage& stage)
{
    launchHidden(stage);
    stage.click(QStringLiteral("endInstanceButton"));
}

} // namespace

Scenes systemScenes()
{
    return {
        { "system-empty", empty },
        { "system-off", off },
        { "system-running", running },
        { "system-strangers", strangers },
        { "system-replayed", replayed },
        { "system-offline", offline },
        { "system-network", network },
        { "system-network-refused", networkRefused },
        { "system-network-secured", networkSecured },
        { "system-network-certificates", networkCertificates },
        { "system-notices", notices },
        { "system-deletion", deletion },
        { "system-launcher-here", launcherHere },
        { "system-machines", machines },
        { "system-launch-ended-badly", launchEndedBadly },
        { "system-launch-hidden", launchHidden },
        { "system-launch-end", launchEnd },
    };
}
