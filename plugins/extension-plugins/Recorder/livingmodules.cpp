// SPDX-License-Identifier: Apache-2.0
#include "livingmodules.h"

#include "recordermodule.h"

#include <QtCore/QMutex>
#include <QtCore/QSet>

namespace {

struct Registry
{
    // Recursive: on its own thread a module's signals are handled at once, inside the action.
    QRecursiveMutex mutex;
    QSet<RecorderModule*> modules;
};

// Never destroyed: a callback may still come while the process ends.
Registry& registry()
{
    static Registry* const instance = new Registry;
    return *instance;
}

} // namespace

void LivingModules::add(RecorderModule* module)
{
    const QMutexLocker locker(&registry().mutex);
    registry().modules.insert(module);
}

void LivingModules::remove(RecorderModule* module)
{
    const QMutexLocker locker(&registry().mutex);
    registry().modules.remove(module);
}

void LivingModules::with(void* module, const std::function<void(RecorderModule&)>& action)
{
    const QMutexLocker locker(&registry().mutex);
    auto* const candidate = static_cast<RecorderModule*>(module);
    if (registry().modules.contains(candidate)) {
        action(*candidate);
    }
}
