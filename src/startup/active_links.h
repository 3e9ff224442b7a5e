#pragma once

// Which data sets the boot has to weigh, read from the links that name
// them. Read failures pass on as int errno (after their line); a zoneinfo
// link of the wrong shape is reported and thrown as int -1.

#include <string>

inline constexpr char latest_link[] = "/var/db/timezone/tz_latest";

// The target of /var/db/timezone/tz_latest, unjudged; "" when missing.
std::string read_latest_link();

// The data set that /var/db/timezone/zoneinfo names; "" for the system's.
std::string current_dataset_path();

// A zoneinfo link target reduced to its data set's directory.
std::string dataset_path_from_link(const std::string& target);
