#pragma once

// The data links' part of the status: builds the system data set, the one
// the zoneinfo link names and the one tz_latest names, and runs them
// through the boot's own decisions, in the boot's order, to tell what the
// next boot does with the data links. Fills in `system`, `in_use`,
// `latest`, `boot` and the problems that follow from them. Throws what
// building the system data set throws; a data set the boot cannot build is
// a problem, not a failure.

class timezone_state;

void forecast_next_boot(timezone_state& state);
