// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/status_next_boot.h"

#include <sys/stat.h>  // S_IFDIR

#include <optional>
#include <stdexcept>  // std::invalid_argument, std::out_of_range
#include <string>

#include "dataset/mira_dataset.h"
#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"
#include "startup/active_links.h"
#include "startup/consider_latest_update.h"
#include "startup/verify_current_dataset.h"
#include "tzctl/complete_update.h"
#include "tzctl/entry_type.h"
#include "tzctl/timezone_state.h"

namespace {

const mira_icu* icu_of(const mira_dataset& set) {
  for (const auto& component : set.components)
    if (const auto* icu = dynamic_cast<const mira_icu*>(component.get()))
      return icu;
  return nullptr;
}

dataset_summary summary_of(const mira_dataset& set) {
  const mira_icu* icu = icu_of(set);
  return {set.path, set.version_string(), icu ? icu->schema : "",
          icu ? icu->directory : "", read_half_versions(set.path)};
}

std::string name_of(const dataset_summary& set) {
  return set.path.empty() ? "the system data set" : set.path;
}

// The boot and what it has decided so far, stage by stage.
struct forecast {
  timezone_state& state;
  const mira_dataset& system;
  bool gave_up = false;  // the boot's last resort ran: no later stage runs

  void reset(const std::string& why) {
    if (gave_up) return;  // the boot never gets this far
    state.boot.problems.push_back(why +
                                  "; the next boot resets to the system data.");
    state.boot.pending = summary_of(system);
    state.boot.zoneinfo_after = mira_zoneinfo::system_directory;
  }
  void give_up(const std::string& why) {
    reset(why);
    gave_up = true;
  }
};

// What the boot reads from the zoneinfo link: the path of the data set it
// names, or none when the boot resets (or fails to) instead.
std::optional<std::string> linked_path(forecast& boot) {
  const timezone_state& state = boot.state;
  if (state.non_links.zoneinfo) {
    // A directory cannot be unlinked, so the reset fails and so does the
    // last resort after it; a file is replaced.
    if (has_type(mira_zoneinfo::link_path, S_IFDIR, true)) {
      boot.gave_up = true;
      boot.state.boot.problems.emplace_back(
          "zoneinfo is a directory, not a link; no boot replaces it.");
    } else {
      boot.reset(std::string("zoneinfo is ") + state.non_links.zoneinfo +
                 ", not a link");
    }
    return std::nullopt;
  }
  if (!state.links.zoneinfo) {
    boot.reset("There is no zoneinfo link");
    return std::nullopt;
  }
  try {
    return dataset_path_from_link(*state.links.zoneinfo);
  } catch (int) {  // dataset_path_from_link has written its own line
    boot.reset("The zoneinfo link names " + *state.links.zoneinfo +
               ", which the boot does not accept");
    return std::nullopt;
  }
}

// The test the boot makes before it sets the linked data set aside.
void judge_in_use(forecast& boot, const mira_dataset& current) {
  timezone_state& state = boot.state;
  state.in_use = summary_of(current);
  state.in_use_kept = keeps_linked_dataset(boot.system, current);
  if (state.in_use_kept || boot.gave_up) return;
  const std::string why = current.compatible_with(boot.system)
                              ? "is older than the system data set"
                              : "is not of the system's ICU schema";
  state.boot.problems.push_back("The data set in use, " +
                                name_of(*state.in_use) + ", " + why +
                                "; the next boot sets it aside.");
  state.boot.pending = summary_of(boot.system);
  state.boot.zoneinfo_after = mira_zoneinfo::system_directory;
}

// An activation readers can use needs both of the update's trees.
void judge_activation(forecast& boot, const mira_dataset& latest) {
  next_boot& next = boot.state.boot;
  next.pending = summary_of(latest);
  next.zoneinfo_after = latest.path + "/zoneinfo";
  const missing_trees missing = missing_trees_of(latest);
  if (missing.zoneinfo)
    next.problems.push_back(
        "tz_latest names " + latest.path +
        ", which has no zoneinfo tree; the next boot activates it and "
        "readers find no zones.");
  if (missing.icutz)
    next.problems.push_back(
        "tz_latest names " + latest.path +
        ", which has no icutz directory; the next boot activates it and ICU "
        "readers find no data.");
}

void weigh_latest(forecast& boot, const mira_dataset& current) {
  latest_summary& latest = *boot.state.latest;
  try {
    const mira_dataset set(latest.target);
    latest.dataset = summary_of(set);
    latest.compatible = set.compatible_with(boot.system);
    latest.newer = set > current;
    if (boot.gave_up) return;
    const bool taken = takes_latest_update(boot.system, current, set);
    latest.fate = taken ? latest_fate::activated : latest_fate::passed_over;
    if (taken) judge_activation(boot, set);
  } catch (const std::invalid_argument&) {  // the model has written its line
    if (!boot.gave_up) latest.fate = latest_fate::breaks_boot;
    boot.give_up(latest.target.starts_with('/')
                     ? "tz_latest names " + latest.target +
                           ", outside /var/db/timezone/tz/"
                     : "tz_latest is relative");
  } catch (const std::out_of_range&) {
    if (!boot.gave_up) latest.fate = latest_fate::breaks_boot;
    boot.give_up("tz_latest names " + latest.target +
                 ", whose version is beyond 32 bits");
  }
}

// A linked data set the boot cannot build ends its work on the links.
std::optional<mira_dataset> linked_dataset(forecast& boot) {
  const std::optional<std::string> path = linked_path(boot);
  if (!path) return std::nullopt;
  try {
    return mira_dataset(*path);
  } catch (const std::out_of_range&) {
    boot.give_up("The zoneinfo link names " + *path +
                 ", whose version is beyond 32 bits");
    return std::nullopt;
  }
}

}  // namespace

void forecast_next_boot(timezone_state& state) {
  const mira_dataset system;
  state.system = summary_of(system);
  state.boot.zoneinfo_after = mira_zoneinfo::link_path;  // as it stands
  forecast boot{state, system};
  // The boot reads tz_latest first: an entry there that is no link ends
  // its work on the data links before it looks at the zoneinfo link.
  if (state.non_links.tz_latest)
    boot.give_up(std::string("tz_latest is ") + state.non_links.tz_latest +
                 ", not a link");
  const std::optional<mira_dataset> current = linked_dataset(boot);
  if (current) judge_in_use(boot, *current);
  if (!state.links.tz_latest) return;
  state.latest.emplace();
  state.latest->target = *state.links.tz_latest;
  state.latest->fate = latest_fate::not_reached;
  // Weighed against what the zoneinfo link names, or against the system
  // data set once the boot has reset a link it rejects.
  weigh_latest(boot, current ? *current : system);
}
