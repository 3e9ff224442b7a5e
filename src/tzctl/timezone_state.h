#pragma once

// The time-zone state as the boot sees it: the four links, the data sets
// they name read through the data set model, and whether they agree.
// Reading never writes. The model writes its own warning lines; a link or
// data set that cannot be read at all throws what fs:: or the model throws.

#include <optional>
#include <string>
#include <vector>

struct dataset_summary {
  std::string path;     // "" for the system data set
  std::string version;  // its version text
  std::string schema;   // its ICU schema; "" when none was found
};

// What tz_latest names, weighed as the next boot weighs it.
struct latest_summary {
  std::string target;
  std::optional<dataset_summary> dataset;  // none: not an update's path
  bool compatible = false;                 // of the system's ICU schema
  bool newer = false;  // than the data set the zoneinfo link names
};

// A link's target; none when there is no link at that path.
struct link_targets {
  std::optional<std::string> zoneinfo, icutz, localtime, tz_latest;
};

class timezone_state {
 public:
  timezone_state();

  bool consistent() const { return problems.empty(); }

  link_targets links;
  dataset_summary system;
  std::optional<dataset_summary> in_use;  // none: no zoneinfo link accepted
  bool in_use_kept = false;  // compatible and not older: the boot keeps it
  std::optional<latest_summary> latest;
  bool links_agree = false;  // icutz names the ICU data of the one in use
  bool localtime_resolves = false;  // to a regular file
  std::optional<std::string> record;
  bool marker_present = false;
  std::vector<std::string> problems;  // sentences; empty when consistent
};

// Why no boot will take the data set a tz_latest link with this target
// names, judged by the data set model as the boot judges it: "" when a
// boot may take it. The model writes its own lines.
std::string why_no_boot_takes(const std::string& latest_target);
