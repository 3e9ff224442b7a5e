#pragma once

// mira-tzctl setup-image [--undo] [ROOT]: wires an image so that every
// reader of time-zone data reads the set mira-tzlink makes current. The
// distribution's tree moves to /usr/share/zoneinfo.default, the system
// data set, and /usr/share/zoneinfo becomes a link to
// /var/db/timezone/zoneinfo; the ICU schema and ICU readers' environment
// are written; /etc/localtime stays a one-step link into
// /usr/share/zoneinfo. Running it again changes nothing; a run cut short
// is finished by the next. --undo restores the tree and removes what it
// added. Returns the exit status: 0 done, 1 refused or incomplete.
#include <string>

int setup_image_command(const std::string& root, bool undo);
