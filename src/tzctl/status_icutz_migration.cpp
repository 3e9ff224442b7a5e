// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/status_icutz_migration.h"

#include <sys/stat.h>  // S_IFLNK

#include <optional>
#include <string>

#include "dataset/mira_icu.h"
#include "fs/operations.h"
#include "startup/migrate_icutz_link.h"
#include "tzctl/entry_type.h"
#include "tzctl/timezone_state.h"

namespace {

constexpr const char* legacy_link = mira_icu::legacy_link_path;

// The target the moved link gets; none when the boot makes no link. Any
// entry at the new place, a dangling link too, makes its link fail, and
// so does a legacy entry it cannot read as a link.
std::optional<std::string> moved_target(const timezone_state& state) {
  if (!migrates_icutz_link() || state.links.icutz ||
      !has_type(legacy_link, S_IFLNK, false))
    return std::nullopt;
  return fs::read_symlink(legacy_link);
}

}  // namespace

void forecast_icutz_migration(timezone_state& state) {
  // An activation or a reset remakes the ICU link after the move; with no
  // data set in use, the zoneinfo entry is already the problem.
  if (state.boot.pending || !state.in_use) return;
  const std::optional<std::string> target = moved_target(state);
  if (!target) return;
  const dataset_summary& in_use = *state.in_use;
  if (!in_use.path.empty() && *target == in_use.icutz) return;
  state.boot.problems.push_back(
      std::string(legacy_link) + " names " + *target +
      "; the next boot moves it to " + mira_icu::link_path +
      ", and the zoneinfo and icutz links then name different data sets.");
}
