// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <quenary.h>

/// Observers of the two progress inputs of an instance; the user data is the RecorderModule. They run on the network
/// library's thread and only emit a signal of the module.
void qnyInput_recordProgress(
    qny_io_kind_t ioKind, const char* name, qny_value_type_t type, void* value, size_t size, void* userData);
void qnyInput_replayProgress(
    qny_io_kind_t ioKind, const char* name, qny_value_type_t type, void* value, size_t size, void* userData);
