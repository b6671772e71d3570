// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

class RecorderModule;

/// Which modules exist, for callbacks of the network library that hold a module's address as their user data. A callback
/// may come after its module: what it wants to do with it is done only while the module is here, and the module's
/// destructor waits for it. Any thread.
namespace LivingModules {

void add(RecorderModule* module);
/// Returns when no action on the module runs or will run.
void remove(RecorderModule* module);
/// Runs the action, which must be short, unless the address is none of a module that exists. Null is none.
void with(void* module, const std::function<void(RecorderModule&)>& action);

} // namespace LivingModules
