#pragma once

// The time-zone state as the boot sees it: the four links, the data sets
// they name read through the data set model, what the next boot will do
// with them, and whether readers see one data set now and after it.
// Reading never writes. The model writes its own warning lines; a link that
// cannot be read at all, or a system data set that cannot be built, throws
// what fs:: or the model throws.

#include <optional>
#include <string>
#include <vector>

#include "tzctl/half_versions.h"

struct dataset_summary {
  std::string path;      // "" for the system data set
  std::string version;   // its version text
  std::string schema;    // its ICU schema; "" when none was found
  std::string icutz;     // the ICU directory an icutz link names for it
  half_versions halves;  // "" where unknown
};

// What the next boot does with the update tz_latest names.
enum class latest_fate {
  no_link,      // there is no tz_latest link
  activated,    // compatible and newer: the next boot activates it
  passed_over,  // incompatible or not newer: the next boot leaves it, with
                // its "New update not compatible" line
  breaks_boot,  // not a link, not an update's path, or a version beyond 32
                // bits: the next boot resets every link to the system data
  not_reached,  // the next boot gives up on the data links before it
};

// What tz_latest names, weighed as the next boot weighs it.
struct latest_summary {
  std::string target;
  std::optional<dataset_summary> dataset;  // none: the boot cannot build it
  bool compatible = false;                 // of the system's ICU schema
  bool newer = false;  // than the data set the zoneinfo link names
  latest_fate fate = latest_fate::no_link;
};

// A link's target; none when there is no link at that path.
struct link_targets {
  std::optional<std::string> zoneinfo, icutz, localtime, tz_latest;
};

// What stands at a link's path when it is not a link ("a directory"); null
// when it is a link or nothing is there.
struct non_link_entries {
  const char *zoneinfo = nullptr, *icutz = nullptr, *localtime = nullptr,
             *tz_latest = nullptr;
};

// The next boot's work on the data links, as its stages decide it.
struct next_boot {
  // The data set whose links it makes; none when it keeps them as they are.
  std::optional<dataset_summary> pending;
  // What it does that readers should not meet: a reset, a set-aside, the
  // activation of an incomplete update; sentences, empty when none.
  std::vector<std::string> problems;
  std::string zoneinfo_after;  // where the zoneinfo link will point
};

class timezone_state {
 public:
  timezone_state();

  bool consistent() const { return problems.empty(); }

  link_targets links;
  non_link_entries non_links;
  dataset_summary system;
  std::optional<dataset_summary> in_use;  // none: no zoneinfo link accepted
  bool in_use_kept = false;  // compatible and not older: the boot keeps it
  std::optional<latest_summary> latest;
  next_boot boot;
  bool links_agree = false;  // icutz names the ICU data of the one in use
  // Whether the halves in use carry one release; none when either version
  // is unknown. Reported only: no part of the verdict.
  std::optional<bool> versions_agree;
  bool localtime_resolves = false;  // to a regular file
  std::optional<std::string> record;
  bool marker_present = false;
  std::vector<std::string> problems;  // sentences; empty when consistent
};
