// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "windowhand.h"

#include <QtQuick/QQuickView>

/// The module's own pages in a window, on a network that is played. Needs a PagesProgram.
class Pages : public WindowHand
{
public:
    enum class Network
    {
        Left,
        Joined
    };
    enum Tab
    {
        Configuration,
        Records,
        File
    };

    static constexpr QSize USUAL_SIZE { 1048, 744 };

    explicit Pages(Network network = Network::Joined, QSize size = USUAL_SIZE);
    ~Pages() override;
    Q_DISABLE_COPY_MOVE(Pages)

    void open(RecorderInstance* instance, Tab tab);
    void showTab(Tab tab);

    /// From now on the overlays wait this long, in milliseconds, before they offer a way out of what takes long.
    void setPatience(int withSilence, int withProgress);

    ModuleFixture fixture;
    RecorderModule& module;
    QQuickView window;

protected:
    QQuickWindow& shownWindow() const override { return const_cast<QQuickView&>(window); }
};
