// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/timezone_state.h"

#include <errno.h>     // EINVAL
#include <sys/stat.h>  // stat, S_ISREG

#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>  // std::invalid_argument

#include "dataset/mira_dataset.h"
#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"
#include "fs/operations.h"
#include "startup/active_links.h"
#include "startup/repair_localtime_link.h"
#include "startup/touch_cleanup_marker.h"
#include "startup/write_version_diff_record.h"
#include "tzctl/state_paths.h"

namespace {

// None when nothing is there, and when the entry is no link at all, which
// fs::read_symlink has reported in its own line. Other failures throw.
std::optional<std::string> link_entry(
    const std::function<std::string()>& read) {
  try {
    std::string target = read();
    if (target.empty()) return std::nullopt;
    return target;
  } catch (int error) {
    if (error != EINVAL) throw;
    return std::nullopt;
  }
}

link_targets read_links() {
  return {link_entry([] { return fs::read_symlink(mira_zoneinfo::link_path); }),
          link_entry([] { return fs::read_symlink(mira_icu::link_path); }),
          link_entry([] { return fs::read_symlink(localtime_link); }),
          link_entry(read_latest_link)};
}

const mira_icu* icu_of(const mira_dataset& set) {
  for (const auto& component : set.components)
    if (const auto* icu = dynamic_cast<const mira_icu*>(component.get()))
      return icu;
  return nullptr;
}

dataset_summary summary_of(const mira_dataset& set) {
  const mira_icu* icu = icu_of(set);
  return {set.path, set.version_string(), icu ? icu->schema : ""};
}

std::string name_of(const dataset_summary& set) {
  return set.path.empty() ? "the system data set" : set.path;
}

// The data set path the boot would take from the zoneinfo link; none, and
// a problem, when it would reject the link and reset it.
std::optional<std::string> linked_path(const link_targets& links,
                                       std::vector<std::string>& problems) {
  if (!links.zoneinfo) {
    problems.emplace_back("There is no zoneinfo link.");
    return std::nullopt;
  }
  try {
    return dataset_path_from_link(*links.zoneinfo);
  } catch (int) {  // dataset_path_from_link has written its own line
    problems.push_back("The zoneinfo link names " + *links.zoneinfo +
                       ", which the boot does not accept.");
    return std::nullopt;
  }
}

// The test the boot makes before it sets the linked data set aside.
void judge_in_use(timezone_state& state, const mira_dataset& system,
                  const mira_dataset& current) {
  state.in_use = summary_of(current);
  const bool compatible = current.compatible_with(system);
  state.in_use_kept = compatible && !(system > current);
  if (!compatible)
    state.problems.push_back("The data set in use, " + name_of(*state.in_use) +
                             ", is not of the system's ICU schema.");
  else if (!state.in_use_kept)
    state.problems.push_back("The data set in use, " + name_of(*state.in_use) +
                             ", is older than the system data set.");
}

latest_summary weigh_latest(const std::string& target,
                            const mira_dataset& system,
                            const mira_dataset& current) {
  latest_summary latest{target, std::nullopt};
  try {
    const mira_dataset set(target);
    latest.dataset = summary_of(set);
    latest.compatible = set.compatible_with(system);
    latest.newer = set > current;
  } catch (const std::invalid_argument&) {
    // Not under /var/db/timezone/tz/: the model has said so, and the boot
    // can never activate it.
  }
  return latest;
}

// An update's ICU link names its own icutz directory; the system data set
// needs none.
void judge_icu_link(timezone_state& state, const mira_dataset& current) {
  const mira_icu* icu = icu_of(current);
  const auto& icutz = state.links.icutz;
  state.links_agree =
      current.path.empty() ? !icutz : icutz && icu && *icutz == icu->directory;
  if (!state.links_agree)
    state.problems.push_back(
        "The zoneinfo and icutz links name different data sets: zoneinfo " +
        name_of(*state.in_use) + ", icutz " + icutz.value_or("none") + ".");
}

bool resolves_to_regular_file(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

std::optional<std::string> read_record() {
  if (!resolves_to_regular_file(version_diff_record)) return std::nullopt;
  std::ifstream in(version_diff_record);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

timezone_state::timezone_state() : links(read_links()) {
  const mira_dataset system_set;
  system = summary_of(system_set);
  std::optional<mira_dataset> current;
  if (const auto path = linked_path(links, problems)) {
    current.emplace(*path);
    judge_in_use(*this, system_set, *current);
    judge_icu_link(*this, *current);
  }
  // Weighed against what the zoneinfo link names, or against the system
  // data set once the boot has reset a link it rejects.
  if (links.tz_latest)
    latest = weigh_latest(*links.tz_latest, system_set,
                          current ? *current : system_set);
  localtime_resolves = resolves_to_regular_file(localtime_link);
  if (!localtime_resolves)
    problems.emplace_back(
        "The localtime link does not resolve to a regular file.");
  record = read_record();
  marker_present = fs::exists(cleanup_marker);
}

std::string why_no_boot_takes(const std::string& latest_target) {
  try {
    const mira_dataset system, latest(latest_target);
    const auto* zoneinfo =
        dynamic_cast<const mira_zoneinfo*>(latest.components.front().get());
    if (!zoneinfo || zoneinfo->get_version().empty())
      return "it has no zoneinfo tree";
    if (!latest.compatible_with(system))
      return "its ICU data is not of the system's schema";
    if (!(latest > system)) return "it is not newer than the system data set";
    return "";
  } catch (const std::invalid_argument&) {  // the model has said why
    return "it is not an update's path";
  }
}
