#pragma once

// mira-tzctl clean [--dry-run] [--obsolete]: when the boot has left the
// clean-up marker, removes every update directory of /var/db/timezone/tz/
// that no data link names, and then the marker; finishes the leftovers of
// a clean or install cut short, marker or not; says why it keeps what it
// keeps. With --obsolete it also removes the tz_latest link when no boot
// will take the data set it names, and so that data set. Changes are made
// under the state lock, through safe_removal. Returns the exit status: 1
// when it refuses (tz/ not a directory, a link it cannot read, the lock
// held) or a directory stays that should have gone; the marker stays then.
int clean_command(bool dry_run, bool obsolete);
