// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/timezone_state.h"

#include <err.h>       // warnx
#include <errno.h>     // EINVAL
#include <sys/stat.h>  // S_IF*

#include <fstream>
#include <string>
#include <string_view>

#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"
#include "fs/operations.h"
#include "startup/active_links.h"
#include "startup/repair_localtime_link.h"
#include "startup/touch_cleanup_marker.h"
#include "startup/write_version_diff_record.h"
#include "tzctl/entry_type.h"
#include "tzctl/status_icutz_migration.h"
#include "tzctl/status_next_boot.h"

namespace {

constexpr size_t record_shown = 4096;

// What stands at `path` when read_symlink found no link there.
const char* kind_of(const char* path) {
  if (has_type(path, S_IFDIR, false)) return "a directory";
  if (has_type(path, S_IFREG, false)) return "a regular file";
  return "a special file";
}

// None when nothing is there, and when the entry is no link at all, which
// fs::read_symlink has reported in its own line and `non_link` says what
// it is. Other failures throw.
std::optional<std::string> link_entry(const char* path, const char*& non_link) {
  try {
    std::string target = fs::read_symlink(path);
    if (target.empty()) return std::nullopt;
    return target;
  } catch (int error) {
    if (error != EINVAL) throw;
    non_link = kind_of(path);
    return std::nullopt;
  }
}

void read_links(timezone_state& state) {
  link_targets& l = state.links;
  non_link_entries& n = state.non_links;
  l.zoneinfo = link_entry(mira_zoneinfo::link_path, n.zoneinfo);
  l.icutz = link_entry(mira_icu::link_path, n.icutz);
  l.localtime = link_entry(localtime_link, n.localtime);
  l.tz_latest = link_entry(latest_link, n.tz_latest);
}

// Readers follow the links now: each must lead to a directory, and icutz to
// the ICU data of the data set zoneinfo names, or be absent with the
// system's.
void judge_data_links(timezone_state& state) {
  auto& problems = state.problems;
  if (state.in_use && !has_type(mira_zoneinfo::link_path, S_IFDIR, true))
    problems.push_back("The zoneinfo link names " + *state.links.zoneinfo +
                       ", which is not a directory; readers find no zones.");
  if (state.non_links.icutz) {
    const bool directory = has_type(mira_icu::link_path, S_IFDIR, false);
    problems.push_back(std::string("icutz is ") + state.non_links.icutz +
                       ", not a link; ICU readers read it, and " +
                       (directory ? "no boot replaces it."
                                  : "only a boot that changes the data "
                                    "links removes it."));
    return;
  }
  const auto& icutz = state.links.icutz;
  if (icutz && !has_type(mira_icu::link_path, S_IFDIR, true))
    problems.push_back("The icutz link names " + *icutz +
                       ", which is not a directory; ICU readers find no data.");
  if (!state.in_use) return;
  const std::string& path = state.in_use->path;
  state.links_agree =
      path.empty() ? !icutz : icutz && *icutz == state.in_use->icutz;
  if (!state.links_agree)
    problems.push_back(
        "The zoneinfo and icutz links name different data sets: zoneinfo " +
        (path.empty() ? "the system data set" : path) + ", icutz " +
        icutz.value_or("none") + ".");
}

// Where a path under the zoneinfo link leads once the next boot has set
// that link: the boot tests a corrected localtime target there, and
// readers follow a kept one there.
std::string in_tree_after_boot(const timezone_state& state,
                               const std::string& path) {
  const std::string_view link = mira_zoneinfo::link_path;
  const std::string rest = path.substr(link.size());
  if (!rest.empty() && rest[0] != '/') return path;  // beside the link
  return state.boot.zoneinfo_after + rest;
}

// The boot keeps a link under the zoneinfo link without looking for its
// zone, so one that resolves now may lead nowhere in the tree the boot
// moves that link to. While it leaves the link, "does not resolve" says it.
void judge_kept_localtime(timezone_state& state, const std::string& target) {
  if (state.boot.zoneinfo_after == mira_zoneinfo::link_path) return;
  const std::string after = in_tree_after_boot(state, target);
  if (after == target || has_type(after, S_IFREG, true)) return;
  state.problems.push_back("The localtime link names " + target +
                           "; the next boot keeps it, and it then leads to " +
                           after + ", which is not a regular file.");
}

// The boot's repair of the localtime link, judged against the zoneinfo
// tree it leaves: a link it would change is a problem even when it
// resolves now.
void judge_localtime_repair(timezone_state& state) {
  using action = localtime_decision::action;
  const auto& target = state.links.localtime;
  localtime_decision decision = decide_localtime_link(target.value_or(""));
  if (state.non_links.localtime) decision = decide_localtime_link("");
  if (decision.what == action::keep) {
    judge_kept_localtime(state, decision.target);
    return;
  }
  if (decision.what == action::correct &&
      !fs::exists(in_tree_after_boot(state, decision.target)))
    decision = decide_localtime_link("");
  state.problems.push_back(
      (state.non_links.localtime
           ? std::string("localtime is ") + state.non_links.localtime +
                 ", not a link"
       : target ? "The localtime link names " + *target
                : std::string("There is no localtime link")) +
      "; the next boot points it at " + decision.target + ".");
}

std::optional<bool> halves_agree(const std::optional<dataset_summary>& set) {
  if (!set || set->halves.zoneinfo.empty() || set->halves.icu.empty())
    return std::nullopt;
  return set->halves.zoneinfo == set->halves.icu;
}

// A record is two version strings; anything larger was not written by a
// boot, and a status must not read a file of any size whole to show it.
std::optional<std::string> read_record() {
  if (!has_type(version_diff_record, S_IFREG, true)) return std::nullopt;
  std::ifstream in(version_diff_record, std::ios::binary);
  std::string text(record_shown + 1, '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<size_t>(in.gcount()));
  if (text.size() > record_shown) {
    text.resize(record_shown);
    warnx("%s is longer than %zu bytes; only its start is shown",
          version_diff_record, record_shown);
  }
  return text;
}

}  // namespace

timezone_state::timezone_state() {
  read_links(*this);
  forecast_next_boot(*this);
  forecast_icutz_migration(*this);
  problems = boot.problems;
  judge_data_links(*this);
  versions_agree = halves_agree(in_use);
  localtime_resolves = has_type(localtime_link, S_IFREG, true);
  if (!localtime_resolves)
    problems.emplace_back(
        "The localtime link does not resolve to a regular file.");
  judge_localtime_repair(*this);
  record = read_record();
  marker_present = fs::exists(cleanup_marker);
}
