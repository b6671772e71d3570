// SPDX-License-Identifier: Apache-2.0
#include "drawing.h"
#include "options.h"
#include "scenes.h"

#include <language.h>
#include <pluginmanager.h>
#include <recorderplugin.h>
#include <theme.h>
#include <windowpicture.h>

#include <QtCore/QDir>
#include <QtCore/QLoggingCategory>
#include <QtCore/QTemporaryDir>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <cstdio>

namespace {

QStringList namesOf(const Scenes& scenes)
{
    QStringList names;
    for (const Scene& scene : scenes) {
        names.append(QString::fromLatin1(scene.name));
    }
    return names;
}

/// Settled before there is an application object: how large things are drawn, and where nothing of the person's is.
void prepareEnvironment(const PictureOptions& options, const QTemporaryDir& home)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_SCALE_FACTOR", QByteArray::number(options.scale));
    for (const char* const name : { "XDG_DATA_HOME", "XDG_CONFIG_HOME" }) {
        qputenv(name, home.path().toLocal8Bit());
    }
    for (const char* const name : { "QNY_DEVICE", "QNY_PORT", "QNY_PEERS" }) {
        qunsetenv(name);
    }
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    WindowPicture::drawWithoutGraphicsCard();
}

int draw(const PictureOptions& options, const Scenes& scenes, int argc, char** argv)
{
    const QTemporaryDir home;
    prepareEnvironment(options, home);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("corvane"));
    const Language language(options.language);
    Theme::instance()->setreducedMotion(true);
    RecorderPlugin plugin;
    PluginManager::instance()->registerModulePlugin(&plugin);

    Drawing drawing(options);
    for (const Scene& scene : scenes) {
        if (options.scenes.isEmpty() || options.scenes.contains(QLatin1StringView(scene.name))) {
            drawing.draw(scene);
        }
    }
    PluginManager::instance()->unregisterModulePlugin(&plugin);
    const QStringList faults = drawing.faults();
    for (const QString& fault : faults) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(fault));
    }
    std::printf("%d pictures in %s, %d faults\n", drawing.count(), qPrintable(QDir::cleanPath(options.output)),
        int(faults.size()));
    return faults.isEmpty() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.append(QString::fromLocal8Bit(argv[i]));
    }
    const Scenes scenes = allScenes();
    PictureOptions options;
    QString problem = readPictureOptions(arguments, namesOf(scenes), &options);
    if (problem.isEmpty() && options.isHelp) {
        std::fputs(qPrintable(pictureHelp()), stdout);
        return 0;
    }
    if (problem.isEmpty() && options.isList) {
        std::printf("%s\n", qPrintable(namesOf(scenes).join(u'\n')));
        return 0;
    }
    if (problem.isEmpty() && !QDir().mkpath(options.output)) {
        problem = QStringLiteral("The folder %1 cannot be made: give another one with --output.").arg(options.output);
    }
    if (!problem.isEmpty()) {
        std::fprintf(stderr, "pictures: %s\n", qUtf8Printable(problem));
        return 2;
    }
    return draw(options, scenes, argc, argv);
}
