#pragma once

// Keeps /var/db/timezone/localtime inside the active zoneinfo tree: a link
// into /usr/share/zoneinfo is moved over, anything else is reset to
// America/Los_Angeles. Only a failure to create that default link escapes,
// as int errno.
inline constexpr char localtime_link[] = "/var/db/timezone/localtime";

void repair_localtime_link();
