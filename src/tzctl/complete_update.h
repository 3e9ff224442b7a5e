#pragma once

// Whether readers find a data set whole once the boot has made its links,
// and whether any boot takes the one tz_latest names. The boot names an
// update by its directory and links its trees without looking into them,
// so a tree is there when its directory is, whatever its +VERSION holds.
// Reads only; the data set model writes its own lines.

#include <string>

class mira_dataset;

// The trees of a data set that are not directories: none when it is whole.
struct missing_trees {
  bool zoneinfo = false;
  bool icutz = false;
};
missing_trees missing_trees_of(const mira_dataset& set);

// Why no boot will take the data set a tz_latest link with this target
// names, judged by the data set model as the boot judges it: "" when a
// boot may take it and readers would find it whole. A system data set
// that cannot be built throws what the model throws.
std::string why_no_boot_takes(const std::string& latest_target);
