// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SOAK_LINES_H
#define TESTS_SOAK_LINES_H

// What the host of a soak says to the soak on its standard output, a line each: the word, a blank, the rest.
namespace soak::lines {

inline constexpr char RECORDER[] = "recorder"; // the process of the recorder that is watched
inline constexpr char WARM[] = "warm"; // every step was done once; it waits to be told to go on
inline constexpr char CYCLE[] = "cycle"; // one more is done: what it was
inline constexpr char RECORD[] = "record"; // JSON: an exported record and when it was made
inline constexpr char FAULT[] = "fault"; // something is not as it should be
inline constexpr char QUIET[] = "quiet"; // the last cycle is done; it waits for the end of its input

// What it is told on its standard input.
inline constexpr char GO[] = "go";
inline constexpr char END[] = "end"; // after one more cycle, of which QUIET is the end

} // namespace soak::lines

#endif
