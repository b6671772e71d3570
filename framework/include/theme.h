// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QColor>
#include <QObject>

/// Colours, sizes and durations of every page, the host's and the modules'. One for the process; pages import Corvane
/// and say Theme.accent. Light and dark follow the desktop unless a mode is chosen.
class CORVANE_EXPORT Theme : public QObject
{
    Q_OBJECT
    Q_PROPERTY(Mode mode READ mode WRITE setmode NOTIFY modeChanged)
    Q_PROPERTY(bool isDark READ isDark NOTIFY isDarkChanged)

    Q_PROPERTY(QColor background READ background NOTIFY isDarkChanged)
    Q_PROPERTY(QColor surface READ surface NOTIFY isDarkChanged)
    Q_PROPERTY(QColor raised READ raised NOTIFY isDarkChanged)
    /// One step up from raised, under the pointer.
    Q_PROPERTY(QColor hovered READ hovered NOTIFY isDarkChanged)
    Q_PROPERTY(QColor line READ line NOTIFY isDarkChanged)
    Q_PROPERTY(QColor text READ text NOTIFY isDarkChanged)
    Q_PROPERTY(QColor mutedText READ mutedText NOTIFY isDarkChanged)
    Q_PROPERTY(QColor accent READ accent NOTIFY isDarkChanged)
    Q_PROPERTY(QColor accentText READ accentText NOTIFY isDarkChanged)
    Q_PROPERTY(QColor selection READ selection NOTIFY isDarkChanged)
    /// Also of warnings that destroy something.
    Q_PROPERTY(QColor recording READ recording NOTIFY isDarkChanged)
    /// Also of warnings.
    Q_PROPERTY(QColor paused READ paused NOTIFY isDarkChanged)
    Q_PROPERTY(QColor replaying READ replaying NOTIFY isDarkChanged)
    /// Laid over a page under an overlay.
    Q_PROPERTY(QColor dim READ dim NOTIFY isDarkChanged)

    /// In device-independent pixels, on a grid of 4.
    Q_PROPERTY(int spacing READ spacing CONSTANT)
    Q_PROPERTY(int spacingSmall READ spacingSmall CONSTANT)
    Q_PROPERTY(int spacingLarge READ spacingLarge CONSTANT)
    Q_PROPERTY(int pageMargin READ pageMargin CONSTANT)
    Q_PROPERTY(int controlHeight READ controlHeight CONSTANT)
    Q_PROPERTY(int rowHeight READ rowHeight CONSTANT)
    Q_PROPERTY(int tallRowHeight READ tallRowHeight CONSTANT)
    Q_PROPERTY(int radius READ radius CONSTANT)
    Q_PROPERTY(int cardRadius READ cardRadius CONSTANT)
    Q_PROPERTY(int focusWidth READ focusWidth CONSTANT)
    Q_PROPERTY(int textSize READ textSize CONSTANT)
    Q_PROPERTY(int smallTextSize READ smallTextSize CONSTANT)
    Q_PROPERTY(int titleSize READ titleSize CONSTANT)
    Q_PROPERTY(int largeTitleSize READ largeTitleSize CONSTANT)
    Q_PROPERTY(int runningTimeSize READ runningTimeSize CONSTANT)
    Q_PROPERTY(double disabledOpacity READ disabledOpacity CONSTANT)
    /// Milliseconds of a fade; 0 when the desktop asks for less motion.
    Q_PROPERTY(int fadeDuration READ fadeDuration NOTIFY reducedMotionChanged)
    /// Nothing moves by itself. The host sets it from the desktop; the environment variable CORVANE_REDUCED_MOTION does
    /// too.
    Q_PROPERTY(bool reducedMotion READ reducedMotion WRITE setreducedMotion NOTIFY reducedMotionChanged)

public:
    enum Mode
    {
        FollowDesktop,
        Light,
        Dark
    };
    Q_ENUM(Mode)

    static Theme* instance();

    Mode mode() const;
    void setmode(Mode mode);
    bool isDark() const;

    QColor background() const;
    QColor surface() const;
    QColor raised() const;
    QColor hovered() const;
    QColor line() const;
    QColor text() const;
    QColor mutedText() const;
    QColor accent() const;
    QColor accentText() const;
    QColor selection() const;
    QColor recording() const;
    QColor paused() const;
    QColor replaying() const;
    QColor dim() const;

    int spacing() const { return 12; }
    int spacingSmall() const { return 8; }
    int spacingLarge() const { return 16; }
    int pageMargin() const { return 24; }
    int controlHeight() const { return 32; }
    int rowHeight() const { return 48; }
    int tallRowHeight() const { return 56; }
    int radius() const { return 6; }
    int cardRadius() const { return 8; }
    int focusWidth() const { return 2; }
    int textSize() const { return 14; }
    int smallTextSize() const { return 12; }
    int titleSize() const { return 16; }
    int largeTitleSize() const { return 18; }
    int runningTimeSize() const { return 24; }
    double disabledOpacity() const { return 0.45; }
    int fadeDuration() const;
    bool reducedMotion() const;
    void setreducedMotion(bool reducedMotion);

Q_SIGNALS:
    void modeChanged();
    void isDarkChanged();
    void reducedMotionChanged();

private:
    Theme();
    ~Theme() override;

    void _updateIsDark();

    Mode _mode = FollowDesktop;
    bool _isDark = false;
    bool _reducedMotion = false;
};
