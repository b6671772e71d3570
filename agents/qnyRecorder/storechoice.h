// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "commandline.h"
#include "store/store.h"

#include <memory>

namespace recorder {

/// Opens the store that the settings name. Null, with the reason in `problem`, when it cannot be opened.
std::unique_ptr<Store> openStore(const Settings& settings, QString& problem);

} // namespace recorder
