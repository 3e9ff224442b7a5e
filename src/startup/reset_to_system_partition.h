#pragma once

// Points the data links back at the system partition's data: the zoneinfo
// link at /usr/share/zoneinfo.default, and no ICU link at all. Writes no
// line of its own; whatever building or activating the data set throws
// passes on.
void reset_to_system_partition();
