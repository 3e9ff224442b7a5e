#pragma once

// mira-tzctl clean [--dry-run]: when the boot has left the clean-up
// marker, removes every update directory that no data link names, and
// then the marker. Returns the exit status: 0 when the clean-up is complete
// or there is none to make, 1 when a link cannot be read (nothing is
// removed then) or a directory could not be removed (after its line).
int clean_command(bool dry_run);
