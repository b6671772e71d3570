// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

class Stage;

/// One state of a page, and how it comes about on a stage that shows the sample system.
struct Scene
{
    const char* name;
    void (*set)(Stage& stage);
};

using Scenes = std::vector<Scene>;

Scenes systemScenes();
Scenes recordersScenes();
Scenes recorderScenes();
Scenes recordsScenes();
Scenes replayScenes();
Scenes fileScenes();
Scenes feedbackScenes();

/// All of them, in the order of the pages.
inline Scenes allScenes()
{
    Scenes all;
    for (const auto& part :
        { systemScenes, recordersScenes, recorderScenes, recordsScenes, replayScenes, fileScenes, feedbackScenes }) {
        const Scenes scenes = part();
        all.insert(all.end(), scenes.begin(), scenes.end());
    }
    return all;
}
