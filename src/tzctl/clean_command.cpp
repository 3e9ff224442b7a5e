// Tested by tests/scenarios/tzctl_clean.scn.
#include "tzctl/clean_command.h"

#include <err.h>  // warn, warnx
#include <errno.h>

#include <algorithm>
#include <cinttypes>  // PRIuMAX
#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <optional>
#include <stdexcept>  // std::exception
#include <string>
#include <vector>

#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"
#include "fs/operations.h"
#include "startup/active_links.h"
#include "startup/touch_cleanup_marker.h"
#include "tzctl/complete_update.h"
#include "tzctl/exit_status.h"
#include "tzctl/named_entries.h"
#include "tzctl/printable_text.h"
#include "tzctl/safe_removal.h"
#include "tzctl/state_lock.h"
#include "tzctl/state_paths.h"

namespace {

struct data_link {
  const char* name;
  const char* path;
  std::optional<std::string> target;
};

struct clean_run {
  bool dry_run, obsolete, marker;
  const safe_removal* updates;  // none when there is no tz/
  std::map<std::string, std::string> named_by = {};  // "zoneinfo and icutz"
  // Directories the links lead into or through, and which links do.
  std::map<safe_removal::directory_id, std::string> reached_by = {};
  std::set<safe_removal::directory_id> reached = {};
  std::optional<std::string> freed = {};  // named whole by a tz_latest removed
  std::uintmax_t total = 0;
  bool complete = true;
  bool drop_latest = false;  // --obsolete removes tz_latest
};

// Leftovers first: a directory set aside now may need the name a cut-short
// clean left behind.
std::vector<std::string> entries_in_order(const safe_removal* updates) {
  std::vector<std::string> entries;
  if (updates) entries = updates->directories();
  std::stable_partition(entries.begin(), entries.end(), is_leftover);
  return entries;
}

// Throws int after a line: a link that cannot be read might name any
// directory.
std::vector<data_link> read_data_links() {
  std::vector<data_link> links = {{"zoneinfo", mira_zoneinfo::link_path, {}},
                                  {"icutz", mira_icu::link_path, {}},
                                  {"tz_latest", latest_link, {}}};
  for (data_link& link : links) try {
      link.target = whole_link_target(link.path);
    } catch (int error) {
      errno = error;
      warn("Cannot read the link %s", link.path);
      throw;
    }
  return links;
}

void add_name(std::string& names, const char* name) {
  if (const auto last = names.rfind(" and "); last != std::string::npos)
    names.replace(last, 5, ", ");
  names += names.empty() ? name : std::string(" and ") + name;
}

// Says why no boot will take what tz_latest names, if none will; with
// --obsolete, marks the link to go. False when it should have and could
// not tell.
bool judge_latest(clean_run& run, data_link& latest) {
  if (!latest.target) return true;
  std::string why;
  try {
    why = why_no_boot_takes(*latest.target);
  } catch (const std::exception&) {  // no system data set can be built
    // The links alone decide what stays, so the clean goes on; only what
    // --obsolete asked for cannot be done.
    warnx("Cannot build the system data set; whether a boot takes what "
          "tz_latest names is unknown");
    return !run.obsolete;
  }
  if (why.empty()) return true;
  std::printf("tz_latest names %s, which no boot will take: %s.\n",
              printable(*latest.target).c_str(), why.c_str());
  if (!run.obsolete) {
    std::printf("'mira-tzctl clean --obsolete' removes it and the link.\n");
    return true;
  }
  run.drop_latest = true;
  // Only a set the link names as a whole goes with it. One it merely leads
  // into (tz/NAME/zoneinfo/missing) may be a sound update; it stays, under
  // the rules for any set no link names.
  run.freed = entry_named_whole(*latest.target);
  latest.target.reset();
  return true;
}

void remove_entry(clean_run& run, const std::string& name,
                  const safe_removal::usage& inside) {
  const std::string path = printable(updates_directory + ("/" + name));
  if (!inside.mount_point.empty()) {
    warnx("Keeping %s: a file system is mounted at %s", path.c_str(),
          printable(inside.mount_point).c_str());
    run.complete = false;
    return;
  }
  if (!inside.unexplored.empty()) {  // it may hold a mount point
    errno = inside.error;
    warn("Keeping %s: cannot look inside %s", path.c_str(),
         printable(inside.unexplored).c_str());
    run.complete = false;
    return;
  }
  std::printf("%s: %" PRIuMAX " bytes\n", path.c_str(), inside.bytes);
  std::fflush(stdout);  // before any line about it on standard error
  if (!run.dry_run && !run.updates->remove(name)) {
    run.complete = false;
  } else {
    run.total += inside.bytes;
  }
}

// Which links name `name` by path, or lead into or through a directory it
// holds, itself included, by identity; "" for none.
std::string links_naming(const clean_run& run, const std::string& name,
                         const safe_removal::usage& inside) {
  if (const auto named = run.named_by.find(name); named != run.named_by.end())
    return named->second;
  return inside.watched ? run.reached_by.at(*inside.watched) : "";
}

void weigh_entry(clean_run& run, const std::string& name) {
  const std::string path = printable(updates_directory + ("/" + name));
  const safe_removal::usage inside = run.updates->measure(name, run.reached);
  if (const std::string links = links_naming(run, name, inside); !links.empty())
    std::printf("%s: kept, named by %s\n", path.c_str(), links.c_str());
  else if (is_leftover(name) || run.marker || run.freed == name)
    remove_entry(run, name, inside);
  else
    std::printf(
        "%s: kept; no link names it, but no boot asked for a "
        "clean-up\n",
        path.c_str());
}

// After the set it names: were the link gone first, a clean cut short
// would leave a set no link names, which no later clean removes without
// the marker. A set that stays keeps its link too.
void drop_latest(clean_run& run) {
  if (!run.drop_latest || !run.complete) return;
  if (run.dry_run) {
    std::printf("The tz_latest link would go.\n");
    return;
  }
  try {
    fs::remove(latest_link);
    std::printf("Removed the tz_latest link.\n");
  } catch (int) {  // fs::remove has written its line
    run.complete = false;
  }
}

// The entries of tz/, leftovers first; false after a line when tz/ cannot
// be listed.
bool list_entries(const clean_run& run, std::vector<std::string>& entries) {
  try {
    entries = entries_in_order(run.updates);
    return true;
  } catch (int) {  // safe_removal has written its line
    return false;
  }
}

int finish(const clean_run& run) {
  if (run.dry_run) {
    std::printf("Dry run: %" PRIuMAX " bytes to reclaim; nothing changed.\n",
                run.total);
    return run.complete ? exit_status::ok : exit_status::not_done;
  }
  if (!run.complete) {
    warnx("Clean-up incomplete; the clean-up marker stays");
    return exit_status::not_done;
  }
  if (!run.marker) {
    std::printf("Reclaimed %" PRIuMAX " bytes.\n", run.total);
    return exit_status::ok;
  }
  try {
    fs::remove(cleanup_marker);
  } catch (int) {  // fs::remove has written its line; the data is gone
    return exit_status::not_done;
  }
  std::printf("Reclaimed %" PRIuMAX " bytes; clean-up marker removed.\n",
              run.total);
  return exit_status::ok;
}

// Under the lock: everything is read again, as an install may have
// published since the first look.
int clean_locked(clean_run& run) {
  std::vector<data_link> links;
  try {
    links = read_data_links();
  } catch (int) {  // read_data_links has written its line
    warn("Cannot tell which data sets are in use; removing nothing");
    return exit_status::not_done;
  }
  run.complete = judge_latest(run, links.back());
  std::vector<std::string> entries;
  if (!list_entries(run, entries)) return exit_status::not_done;
  for (const data_link& link : links) {
    if (!link.target) continue;
    for (const std::string& entry : entries_named(*link.target))
      add_name(run.named_by[entry], link.name);
    const auto reached = directories_reached(link.path);
    for (const auto& id : std::set(reached.begin(), reached.end())) {
      add_name(run.reached_by[id], link.name);
      run.reached.insert(id);
    }
  }
  for (const std::string& name : entries)
    if (!name.starts_with('.') || is_leftover(name)) weigh_entry(run, name);
  drop_latest(run);
  return finish(run);
}

}  // namespace

int clean_command(bool dry_run, bool obsolete) {
  std::optional<safe_removal> updates;
  try {
    updates.emplace();
    // A missing tz/ holds nothing to remove; the marker may still go.
  } catch (int error) {  // safe_removal has written its line, if any
    if (error != ENOENT) return exit_status::not_done;
  }
  clean_run run{.dry_run = dry_run,
                .obsolete = obsolete,
                .marker = fs::exists(cleanup_marker),
                .updates = updates ? &*updates : nullptr};
  std::vector<std::string> entries;
  if (!list_entries(run, entries)) return exit_status::not_done;
  if (!run.marker && !obsolete &&
      (entries.empty() || !is_leftover(entries.front()))) {
    std::printf("No clean-up marker: nothing to clean.\n");
    return exit_status::ok;
  }
  // A dry run changes nothing, so it needs no lock and any user may run it.
  std::optional<state_lock> lock;
  try {
    if (!dry_run) lock.emplace("clean");
  } catch (int error) {  // state_lock has written its line
    return error == EWOULDBLOCK ? exit_status::not_done
                                : exit_status::cannot_run;
  }
  return clean_locked(run);
}
