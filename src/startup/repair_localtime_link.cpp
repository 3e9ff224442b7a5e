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
  const localtime_decision decision =
      decide_localtime_link(fs::read_symlink(localtime_link));
  if (decision.what == localtime_decision::action::keep) return;
  if (decision.what == localtime_decision::action::reset) throw -1;
  const std::string& corrected = decision.target;
  warn("Correcting localtime link to %s", corrected.c_str());
  if (!fs::exists(corrected)) throw -1;
  (void)std::remove(localtime_link);
  fs::create_symlink(corrected, localtime_link);
}

}  // namespace

localtime_decision decide_localtime_link(const std::string& target) {
  using action = localtime_decision::action;
  // Prefixes only: the zone file itself is not looked for.
  if (target.starts_with(accepted_prefix)) return {action::keep, target};
  if (!target.starts_with(replaced_prefix))
    return {action::reset, default_target};
  return {action::correct,
          std::string(accepted_prefix) + target.substr(replaced_prefix.size())};
}

void repair_localtime_link() {
  try {
    keep_in_active_tree();
  } catch (...) {  // any doubt about the link: the default zone
    warn("localtime link invalid; resetting to %s", default_localtime_zone);
    (void)std::remove(localtime_link);
    fs::create_symlink(default_target, localtime_link);
  }
}
