// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../datatools.h"
#include "csv/exchange.h"
#include "store/store.h"

#include <memory>
#include <string>
#include <vector>

// Records of a store as a whole: out, in again, and what they must hold. The test fails when the store does.
namespace recorder::testing {

std::unique_ptr<RecordReader> read(Store& store, const std::string& uuid);

std::string exportAll(Store& store, const std::string& uuid, const csv::ExportLimits& limits = {});
// As the module sends a file: chunks of so many rows, line feeds doubled.
std::vector<std::string> moduleChunks(const std::string& file, std::size_t rows);
// Returns the new record's uuid.
std::string importAll(Store& store, const std::string& name, const std::string& file, std::size_t rows);

// The rows of a file, line ends inside of quotes kept together.
std::vector<std::string> rowsOf(const std::string& file);
// An export differs from that of its import in the row with the name alone.
std::string withoutName(const std::string& file);

// As a reader gives them: by time, those of equal times as they came.
std::vector<Event> inOrder(std::vector<Event> events);
std::vector<Event> window(const std::vector<Event>& events, std::int64_t startUs, std::int64_t endUs);
// The state just before a time, of events in order.
std::vector<OutputValue> stateOf(
    const std::vector<Event>& ordered, std::int64_t timeUs, const std::vector<OutputValue>& initialValues = {});

} // namespace recorder::testing
