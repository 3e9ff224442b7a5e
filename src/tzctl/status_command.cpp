// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/status_command.h"

#include <err.h>  // warn

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "tzctl/exit_status.h"
#include "tzctl/status_json.h"
#include "tzctl/status_text.h"
#include "tzctl/timezone_state.h"
#include "tzctl/warning_lines.h"

namespace {

// Reads the state; none when it cannot be read, after what failed has
// written its line.
std::optional<timezone_state> read_state() {
  try {
    return timezone_state();
  } catch (...) {  // the line is written; the caller says there is no report
    return std::nullopt;
  }
}

}  // namespace

int status_command(bool as_json) {
  std::optional<timezone_state> state;
  std::vector<std::string> warnings;
  if (as_json) {
    const warning_collector collector(warnings);
    state = read_state();
  } else {
    state = read_state();
  }
  if (!state) {
    // Without a report, the lines held back are what says why.
    for (const std::string& line : warnings)
      std::fprintf(stderr, "%s\n", line.c_str());
    warn("Cannot read the time-zone state");
    return exit_status::cannot_run;
  }
  if (as_json) {
    print_status_json(*state, warnings);
  } else {
    print_status_text(*state);
  }
  return state->consistent() ? exit_status::ok : exit_status::not_done;
}
