#pragma once

// Keeps /var/db/timezone/localtime inside the active zoneinfo tree: a link
// into /usr/share/zoneinfo is moved over, anything else is reset to
// America/Los_Angeles. Only a failure to create that default link escapes,
// as int errno.

#include <string>

inline constexpr char localtime_link[] = "/var/db/timezone/localtime";

// What the boot makes of a localtime link's target, judged by its text
// alone. Pure.
struct localtime_decision {
  enum class action { keep, correct, reset } what;
  // The link's target afterwards; a corrected one stands only if it
  // exists, else the link is reset after all.
  std::string target;
};
localtime_decision decide_localtime_link(const std::string& target);

void repair_localtime_link();
