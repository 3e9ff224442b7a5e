#pragma once

// Runs the boot tool once, as a boot would, with no arguments, and keeps
// what it writes on standard error. Throws int errno after one warning
// line when it cannot be started (no memory file for its lines, no
// process, no exec), so that nothing it did not do is ever reported.

#include <string>

struct boot_run {
  std::string lines;  // what it wrote on standard error
  int status = 0;     // waitpid(2)'s
};

boot_run run_boot(const std::string& tool);
