#pragma once

// The boot's first stage, as status forecasts it: a link an older system
// left at /var/db/icutz moves to /var/db/timezone/icutz, and stands when
// the boot then keeps the data links. Adds the problem that follows to the
// next boot's. Reads only; what fs:: throws on a link it cannot read
// passes on.

class timezone_state;

void forecast_icutz_migration(timezone_state& state);
