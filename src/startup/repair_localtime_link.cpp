// Tested by tests/scenarios/localtime.scn.
#include "startup/repair_localtime_link.h"

#include <err.h>  // warn

#include <cstdio>  // ::remove, the plain removal that reports nothing
#include <string>

#include "dataset/mira_zoneinfo.h"
#include "fs/operations.h"

namespace {

constexpr std::string_view accepted_prefix = mira_zoneinfo::link_path;
constexpr std::string_view replaced_prefix = "/usr/share/zoneinfo";
constexpr char default_localtime_zone[] = "America/Los_Angeles";
constexpr char default_target[] =
    "/var/db/timezone/zoneinfo/America/Los_Angeles";

// Throws, whatever the type, when the link has to be reset.
void keep_in_active_tree() {
  const std::string target = fs::read_symlink(localtime_link);
  // Prefixes only: the zone file itself is not looked for.
  if (target.starts_with(accepted_prefix)) return;
  if (!target.starts_with(replaced_prefix)) throw -1;
  const std::string corrected =
      std::string(accepted_prefix) + target.substr(replaced_prefix.size());
  warn("Correcting localtime link to %s", corrected.c_str());
  if (!fs::exists(corrected)) throw -1;
  (void)std::remove(localtime_link);
  fs::create_symlink(corrected, localtime_link);
}

}  // namespace

void repair_localtime_link() {
  try {
    keep_in_active_tree();
  } catch (...) {  // any doubt about the link: the default zone
    warn("localtime link invalid; resetting to %s", default_localtime_zone);
    (void)std::remove(localtime_link);
    fs::create_symlink(default_target, localtime_link);
  }
}
