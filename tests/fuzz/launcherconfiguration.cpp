// SPDX-License-Identifier: Apache-2.0
// The launcher's configuration: what may be started on its machine.
#include "fuzz.h"
#include "quiet.h"

#include "configuration.h"

#include <QFile>
#include <QTemporaryDir>

using namespace launcher;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool isReady = (fuzz::beQuiet(), fuzz::application(), true);
    fuzz::expect(isReady, "there is an application");
    static const QTemporaryDir folder(QStringLiteral("/dev/shm/fuzz-XXXXXX"));
    static const QString path = folder.filePath(QStringLiteral("launcher.conf"));
    QFile file(path);
    fuzz::expect(file.open(QIODevice::WriteOnly | QIODevice::Truncate), "a file can be made");
    file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    file.close();

    Configuration configuration;
    configuration.children = -1;
    const QString problem = readConfiguration(path, configuration);
    if (!problem.isEmpty()) {
        fuzz::expect(problem.startsWith(path + u':'), "what is wrong names the file");
        fuzz::expect(configuration.children == -1 && configuration.programs.isEmpty(), "and nothing was taken over");
        return 0;
    }
    fuzz::expect(configuration.children >= 1 && configuration.children <= 1000, "some agents may run, not any number");
    fuzz::expect(configuration.logFileBytes >= 4096 && configuration.logFiles >= 1, "there is room for a log");
    fuzz::expect(configuration.secondsToEnd >= 1 && configuration.logsKept >= 0, "an agent has time to end");
    for (const Program& program : configuration.programs) {
        fuzz::expect(configuration.find(program.path) == &program, "no program stands twice");
        fuzz::expect(program.path.startsWith(u'/') && !program.path.contains(QChar(u'\0')), "a program is a path");
    }
    return 0;
}
