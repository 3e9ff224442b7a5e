#pragma once

// Leaves /var/db/timezone/needs_cleanup, telling the system that an update
// directory was set aside or replaced. An existing marker keeps its
// contents. Never throws: a failure costs one warning line.
inline constexpr char cleanup_marker[] = "/var/db/timezone/needs_cleanup";

void touch_cleanup_marker();
