#pragma once

// One run of a program as a whole process, timed from fork to the end of
// wait4, with the peak resident memory the kernel reports for it.

#include <string>
#include <vector>

struct process_run {
  double wall_ms;
  long max_rss_kb;  // ru_maxrss of the child
  int status;       // as wait4 gives it
};

// Runs argv[0], an absolute path, with stdout and stderr on /dev/null and
// the same small environment for every program. Throws std::runtime_error
// when the process cannot be made; a failed exec shows as exit status 127.
process_run run_process(const std::vector<std::string>& argv);

// True when the run ended by exit with status 0.
bool exited_cleanly(const process_run& run);
