// SPDX-License-Identifier: Apache-2.0
#include "theme.h"

#include <zqproperty.h>

#include <QGuiApplication>
#include <QStyleHints>

namespace {

QColor either(bool isDark, QRgb dark, QRgb light)
{
    return QColor::fromRgb(isDark ? dark : light);
}

} // namespace

Theme* Theme::instance()
{
    static Theme* const self = new Theme; // never deleted: pages bind to it until the engine goes
    return self;
}

Theme::Theme()
    : _reducedMotion(qEnvironmentVariableIntValue("CORVANE_REDUCED_MOTION") != 0)
{
    if (qGuiApp != nullptr) {
        connect(QGuiApplication::styleHints(), &QStyleHints::colorSchemeChanged, this, &Theme::_updateIsDark);
    }
    _updateIsDark();
}

Theme::~Theme() = default;

Theme::Mode Theme::mode() const
{
    return _mode;
}

void Theme::setmode(Mode mode)
{
    if (ZqProperty::assign(_mode, mode)) {
        _updateIsDark();
        Q_EMIT modeChanged();
    }
}

bool Theme::isDark() const
{
    return _isDark;
}

bool Theme::reducedMotion() const
{
    return _reducedMotion;
}

void Theme::setreducedMotion(bool reducedMotion)
{
    ZqProperty::assign(this, _reducedMotion, reducedMotion, &Theme::reducedMotionChanged);
}

int Theme::fadeDuration() const
{
    return _reducedMotion ? 0 : 120;
}

void Theme::_updateIsDark()
{
    const bool isDesktopDark
        = qGuiApp != nullptr && QGuiApplication::styleHints()->colorScheme() == Qt::ColorScheme::Dark;
    ZqProperty::assign(
        this, _isDark, _mode == Dark || (_mode == FollowDesktop && isDesktopDark), &Theme::isDarkChanged);
}

QColor Theme::background() const
{
    return either(_isDark, 0x14171C, 0xF3F5F8);
}
QColor Theme::surface() const
{
    return either(_isDark, 0x1B2027, 0xFFFFFF);
}
QColor Theme::raised() const
{
    return either(_isDark, 0x242B34, 0xF3F5F8);
}
QColor Theme::hovered() const
{
    return either(_isDark, 0x2D3540, 0xE6EAF0);
}
QColor Theme::line() const
{
    return either(_isDark, 0x343C47, 0xD5DBE3);
}
QColor Theme::text() const
{
    return either(_isDark, 0xE8EBF0, 0x1A1F27);
}
QColor Theme::mutedText() const
{
    return either(_isDark, 0xA3ACB9, 0x586271);
}
QColor Theme::accent() const
{
    return either(_isDark, 0x62AEFF, 0x0B62BF);
}
QColor Theme::accentText() const
{
    return either(_isDark, 0x0B1420, 0xFFFFFF);
}
QColor Theme::selection() const
{
    return either(_isDark, 0x1E2E42, 0xE4F0FE);
}
QColor Theme::recording() const
{
    return either(_isDark, 0xFF5A52, 0xC6261F);
}
QColor Theme::paused() const
{
    return either(_isDark, 0xFFB547, 0x8A5800);
}
QColor Theme::replaying() const
{
    return either(_isDark, 0x4CC38A, 0x14763F);
}

QColor Theme::dim() const
{
    QColor dim = either(_isDark, 0x000000, 0x1A1F27);
    dim.setAlphaF(0.4F); // leaves 60 % of the page
    return dim;
}
