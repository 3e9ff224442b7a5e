#pragma once

// mira-tzctl status [--json]: reads the state and prints it, writing
// nothing. Returns the exit status: 0 consistent, 1 not, 3 when the state
// cannot be read at all (after a line saying so).
int status_command(bool as_json);
