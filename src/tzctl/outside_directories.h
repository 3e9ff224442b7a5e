#pragma once

// The directories outside /var/db that a boot would write in, through a
// link that leads there: /var/db/timezone itself, or the version record,
// which the boot opens through a chain of links. Reads only; a path that
// cannot be resolved leads nowhere and is left out. Throws int errno after
// one warning line when the record leads to a directory that holds
// /var/db, where a write could be neither covered nor seen.

#include <string>
#include <vector>

std::vector<std::string> outside_directories();
