#pragma once

// mira-tzctl's exit statuses, one meaning each, as mira-tzctl(8) lists
// them, so that `mira-tzctl status || alert` never mistakes a typo or an
// unreadable state for an inconsistent one.
namespace exit_status {
inline constexpr int ok = 0;          // done; the state is consistent
inline constexpr int not_done = 1;    // inconsistent, refused or incomplete
inline constexpr int usage = 2;       // bad arguments
inline constexpr int cannot_run = 3;  // the state cannot be read, or the
                                      // command cannot run or report
}  // namespace exit_status
