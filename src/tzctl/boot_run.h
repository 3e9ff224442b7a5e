#pragma once

// Runs the boot tool once, as a boot would, with no arguments, and keeps
// what it writes on standard error write by write. Throws int errno after
// one warning line when it cannot be started (no socket for its lines, no
// process, no exec), so that nothing it did not do is ever reported.

#include <string>
#include <vector>

struct boot_run {
  // Each write(2) the boot made on standard error, in order: its warning
  // lines are cut where it wrote them, not where a name holds a line end.
  std::vector<std::string> records;
  int status = 0;  // waitpid(2)'s
};

boot_run run_boot(const std::string& tool);
