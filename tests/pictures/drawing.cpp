// SPDX-License-Identifier: Apache-2.0
#include "drawing.h"

#include "looks.h"
#include "messagelog.h"
#include "stage.h"

#include <theme.h>
#include <windowpicture.h>

#include <QtCore/QDir>

#include <algorithm>

namespace {

QString themeName(int theme)
{
    return theme == Theme::Dark ? QStringLiteral("dark") : QStringLiteral("light");
}

QImage picture(Stage& stage)
{
    // Lists and layouts make and place their items before a frame, and may ask for one more.
    WindowPicture::draw(stage.window());
    stage.waitForRows();
    WindowHand::settle();
    if (stage.meanwhile) {
        stage.meanwhile();
    }
    return WindowPicture::draw(stage.window());
}

} // namespace

Drawing::Drawing(const PictureOptions& options)
    : _options(options)
{
}

void Drawing::draw(const Scene& scene)
{
    const QString name = QString::fromLatin1(scene.name) + u'-' + _options.language;
    const MessageLog log;
    // The offscreen platform warns of what it does not do with windows.
    QStringList announced { QStringLiteral("This plugin does not support") };
    {
        Stage stage(_options.windowSize());
        scene.set(stage);
        WindowHand::settle();
        QImage before;
        for (const int theme : std::as_const(_options.themes)) {
            const QString file = name + u'-' + themeName(theme);
            stage.host().setTheme(themeName(theme));
            WindowHand::settle();
            const QImage image = picture(stage);
            if (image.size() != _options.size) {
                _fault(file, { QStringLiteral("has %1x%2 pixels").arg(image.width()).arg(image.height()) });
            }
            if (WindowPicture::isBlank(image)) {
                _fault(file, { QStringLiteral("is blank") });
            }
            if (image == before) {
                _fault(file, { QStringLiteral("is the same in both themes") });
            }
            before = image;
            _fault(file, Looks::faults(stage.window(), image));
            if (!WindowPicture::write(image, QDir(_options.output).filePath(file + QStringLiteral(".png")))) {
                _fault(file, { QStringLiteral("could not be written to %1").arg(_options.output) });
            }
            ++_count;
        }
        announced += stage.announcedWarnings;
    }
    QStringList problems = log.problems();
    problems.removeIf([&announced](const QString& problem) {
        return std::ranges::any_of(announced,
            [&problem](const QString& begin) { return problem.startsWith(QStringLiteral("warning: ") + begin); });
    });
    _fault(name, problems);
}

void Drawing::_fault(const QString& picture, const QStringList& faults)
{
    for (const QString& fault : faults) {
        _faults.append(picture + QStringLiteral(": ") + fault);
    }
}
