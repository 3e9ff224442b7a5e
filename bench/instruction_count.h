#pragma once

// Instructions one run executes, counted by callgrind from the loader's
// first instruction to exit: a figure that machine load does not move.

#include <string>

#include "interleaved_runs.h"

// Runs `c` once under `valgrind`, its state put in place and checked as
// for a timed run. Throws std::runtime_error when the run or the count
// fails.
long long count_instructions(const std::string& valgrind, const candidate& c);
