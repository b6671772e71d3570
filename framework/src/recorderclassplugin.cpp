// SPDX-License-Identifier: Apache-2.0
#include "recorderclassplugin.h"

#include "corvaneutils.h"
#include "reservedagentandtoolfamilies.h"
#include "systemviewclassinstance.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace {

QString recorderLine(const QString& program, const QString& name)
{
    return CorvaneUtils::joinCommand(
        program, { QStringLiteral("--name"), name, QStringLiteral("--cassandra"), QStringLiteral("embedded:9042") });
}

} // namespace

RecorderClassPlugin::RecorderClassPlugin(QObject* parent)
    : SystemViewClassPlugin(parent)
{
}

RecorderClassPlugin::~RecorderClassPlugin() = default;

QString RecorderClassPlugin::familyUuid() const
{
    return ReservedAgentAndToolFamilies::RECORDER_CLASS_UUID;
}

QString RecorderClassPlugin::executablePath()
{
    const QString path = QCoreApplication::applicationDirPath() + QLatin1String("/../agents/qnyRecorder/qnyRecorder");
    const QString canonical = QFileInfo(path).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(path) : canonical;
}

QString RecorderClassPlugin::executableProblem()
{
    const QString path = executablePath();
    const QFileInfo file(path);
    if (!file.isFile()) {
        return tr("The recorder program is missing: %1 does not exist. Recorders cannot be started on this machine; "
                  "build or install qnyRecorder there.")
            .arg(QDir::toNativeSeparators(path));
    }
    if (!file.isExecutable()) {
        return tr("The recorder program %1 may not be run by this user: give it execute permission.")
            .arg(QDir::toNativeSeparators(path));
    }
    return {};
}

QString RecorderClassPlugin::defaultCommandLine(const QString& name)
{
    return recorderLine(executablePath(), name);
}

QString RecorderClassPlugin::launchLine(const QString& program, const QString& name) const
{
    return recorderLine(program, name);
}

void RecorderClassPlugin::initialise(SystemViewClassInstance* instance) const
{
    instance->getOrCreateEncounteredAgentInfo(
        instance->getOrCreateEncounteredAgentsOnHostAttachedToCorvane(), defaultCommandLine(instance->name()));
}
