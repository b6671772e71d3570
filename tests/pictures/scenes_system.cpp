// SPDX-License-Identifier: Apache-2.0
#include "stage.h"

#include <networkconfiguration.h>
#include <sampleplant.h>

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
        { "system-notices", notices },
        { "system-deletion", deletion },
    };
}
