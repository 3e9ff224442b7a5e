#pragma once

// What a fuzz target needs around the code it calls: the tool's warning
// lines kept in memory, where they can be checked and no terminal slows
// the run, and a way to stop on a broken property so libFuzzer keeps the
// input. libFuzzer's and the sanitizers' own reports still reach fd 2.

#include <string>

// Sends warn(3) to memory from here on. Call once, from
// LLVMFuzzerInitialize.
void capture_warnings();

// Forgets earlier lines and sets errno to a marker value. Call just before
// the operation under test.
void start_capture();

// The lines written since start_capture.
std::string captured_warnings();

// The whole line warn(3) writes for `message` when the operation leaves
// errno alone.
std::string warning_line(const std::string& message);

// Names the broken property on the real standard error and aborts.
[[noreturn]] void fail(const char* property);

inline void check(bool holds, const char* property) {
  if (!holds) fail(property);
}
