#pragma once

// Puts this process in a mount namespace of its own in which /var/db is a
// fresh copy of what the boot writes there (/var/db/timezone, whose update
// directories are bound read-only rather than copied, /var/db/icutz and
// /var/db/icu) and every other mount is read-only, so that nothing a boot
// does there reaches the machine. Without root it first makes a user
// namespace of its own. Throws int errno after one warning line.
void enter_private_view();
