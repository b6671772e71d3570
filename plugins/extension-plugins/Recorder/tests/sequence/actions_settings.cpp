// SPDX-License-Identifier: Apache-2.0
// Settings that the user edits into the launch line of a recorder.
#include "actions.h"

namespace {

template <void (*edit)(World&, RecorderInstance&)> bool onAnyInstance(World& world)
{
    RecorderInstance* const instance = world.anyInstance();
    if (!instance) {
        return false;
    }
    world.journal.note(world.label(instance));
    edit(world, *instance);
    return true;
}

template <void (RecorderInstance::*update)(bool)> void editSwitch(World& world, RecorderInstance& instance)
{
    (instance.*update)(world.random.chance(50));
}

template <void (RecorderInstance::*update)(const QString&)> void editText(World& world, RecorderInstance& instance)
{
    (instance.*update)(world.random.pick({ "", "  ", "value", "my-key space!", "with \"quotes\" and 'more'", "-dash",
        "********", "--", " /etc/quenary/certificates ", "\u00e9\u4e2d" }));
}

void editEndpoint(World& world, RecorderInstance& instance)
{
    instance.updateCassandraEndpoint(
        world.random.pick({ "", "db", " db:9042 ", "tcp://db:7000", "other:9042", "::1", "a b" }));
}

} // namespace

const QList<Action> SETTING_ACTIONS {
    { "updateIsVerbose", 10, onAnyInstance<editSwitch<&RecorderInstance::updateIsVerbose>> },
    { "updateCassandraEndpoint", 20, onAnyInstance<editEndpoint> },
    { "updateUseCustomKeyspace", 10, onAnyInstance<editSwitch<&RecorderInstance::updateUseCustomKeyspace>> },
    { "updateCustomKeyspace", 10, onAnyInstance<editText<&RecorderInstance::updateCustomKeyspace>> },
    { "updateUseAuthentication", 10, onAnyInstance<editSwitch<&RecorderInstance::updateUseAuthentication>> },
    { "updateUsername", 10, onAnyInstance<editText<&RecorderInstance::updateUsername>> },
    { "updatePassword", 10, onAnyInstance<editText<&RecorderInstance::updatePassword>> },
    { "updateIsQuenarySecurityActivate", 10,
        onAnyInstance<editSwitch<&RecorderInstance::updateIsQuenarySecurityActivate>> },
    { "updatePrivateAgentCertificateFilePath", 10,
        onAnyInstance<editText<&RecorderInstance::updatePrivateAgentCertificateFilePath>> },
    { "updatePublicCertificatesDirectoryPath", 10,
        onAnyInstance<editText<&RecorderInstance::updatePublicCertificatesDirectoryPath>> },
    { "updateTimestampedReplayMode", 10, onAnyInstance<editSwitch<&RecorderInstance::updateTimestampedReplayMode>> },
};
