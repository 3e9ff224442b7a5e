#pragma once

// The status for people on standard output: one aligned line for each
// thing looked at, then the verdict and each problem under it.

class timezone_state;

void print_status_text(const timezone_state& state);
