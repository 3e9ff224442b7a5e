// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/status_command.h"

#include <err.h>  // warn

#include <optional>

#include "tzctl/exit_status.h"
#include "tzctl/status_json.h"
#include "tzctl/status_text.h"
#include "tzctl/timezone_state.h"

int status_command(bool as_json) {
  std::optional<timezone_state> state;
  try {
    state.emplace();
  } catch (...) {  // what failed has written its line; there is no report
    warn("Cannot read the time-zone state");
    return exit_status::cannot_run;
  }
  if (as_json) {
    print_status_json(*state);
  } else {
    print_status_text(*state);
  }
  return state->consistent() ? 0 : 1;
}
