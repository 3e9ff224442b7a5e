// Compiled by the test warn_formats_are_checked, never linked: the
// compiler must refuse an argument that does not fit warn's format, as it
// does for the C library's warn(3), since mira-tzctl defines its own.
#include "tzctl/warning_lines.h"

void misuse() { warn("%s", 42); }
