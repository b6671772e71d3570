// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

/// Registers the framework's types under "Corvane" 1.0: the singletons Theme, NetworkConfiguration,
/// SystemDocumentHandler, SystemViewManager and PluginManager, the element CorvaneModuleView, and the other classes for
/// their types. Once for the process; further calls do nothing. Call it before an engine loads a page.
CORVANE_EXPORT void registerCorvaneQmlTypes();
