// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../store.h"

#include <string>

namespace recorder {

class RecordFile;

// The rows with which a record file ends once it is whole: everything that the list of records shows, and how long they
// are, so that they are found from the file's end. docs/record-csv.md describes them.
struct Closing
{
    std::string name;
    std::int64_t startUs = 0;
    std::int64_t durationUs = 0;
    std::uint64_t events = 0;
    RecordOrigin origin = RecordOrigin::Recorded;
};

void appendClosing(std::string& out, const Closing& closing);
// False when the file does not end so.
bool readClosing(const RecordFile& file, std::uint64_t size, Closing& closing);
// What to add to a file that ends so, to give the record another name.
std::string closingWithName(const RecordFile& file, std::uint64_t size, const std::string& name);

} // namespace recorder
