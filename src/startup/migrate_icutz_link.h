#pragma once

// Moves the ICU data link from /var/db/icutz, where older systems kept it,
// to /var/db/timezone/icutz. Never throws: a failure costs a warning line
// and the boot goes on.
void migrate_icutz_link();

// Whether the boot makes the move: /var/db/icutz resolves and
// /var/db/timezone/icutz does not. Reads only.
bool migrates_icutz_link();
