// Tested by tests/scenarios/tzctl_install.scn and the install crash
// injection in tests/crash/.
#include "tzctl/install_publication.h"

#include <err.h>  // warn, warnx
#include <errno.h>
#include <fcntl.h>     // open, O_*
#include <stdio.h>     // rename
#include <sys/stat.h>  // mkdir, chmod
#include <unistd.h>    // fsync, syncfs, symlink, unlink, getpid

#include <filesystem>
#include <fstream>
#include <vector>

#include "dataset/mira_dataset.h"
#include "fs/read_first_word.h"
#include "startup/active_links.h"
#include "tzctl/child_process.h"
#include "tzctl/icu_resource.h"
#include "tzctl/install_refused.h"
#include "tzctl/plain_files.h"
#include "tzctl/safe_removal.h"
#include "tzctl/state_paths.h"
#include "tzctl/tree_copy.h"

namespace stdfs = std::filesystem;

namespace {

// A fixed name: a link left by a kill is removed by the next install.
constexpr char latest_link_draft[] = "/var/db/timezone/.tz_latest.installing";

[[noreturn]] void refuse(const char* what, const std::string& path) {
  warn("Cannot %s %s", what, path.c_str());
  throw install_refused();
}

}  // namespace

void prepare_updates_directory() {
  for (const std::string path :
       {data_directory, timezone_directory, updates_directory}) {
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST)
      refuse("create", path);
    struct stat status;
    if (lstat(path.c_str(), &status) != 0) refuse("read", path);
    if (!S_ISDIR(status.st_mode)) {
      errno = ENOTDIR;
      refuse("use", path);
    }
  }
}

namespace {

// The sync of a directory's entries, or with `whole_tree` of the file
// system holding it, which writes out a freshly built set in one call.
void sync_directory(const std::string& path, bool whole_tree) {
  const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) refuse("sync", path);
  const int synced = whole_tree ? syncfs(fd) : fsync(fd);
  close(fd);
  if (synced != 0) refuse("sync", path);
}

// A fresh file renamed into place: whatever zic left at the name, even a
// second name of one of its zone files, is replaced, never written into.
void write_version(const std::string& path, const std::string& version) {
  try {
    plain_files::write_file(path, version + "\n");
  } catch (int) {  // plain_files has written its line
    throw install_refused();
  }
}

void copy_icu_files(const release_set& set, const std::string& icutz) {
  if (mkdir(icutz.c_str(), 0755) != 0) refuse("create", icutz);
  try {
    for (const char* name : icu_resource_names)
      copy_file(set.icu_directory + "/" + name, icutz + "/" + name);
  } catch (int) {  // copy_file has written its line
    throw install_refused();
  }
}

// The ICU package of the four files, for the boot, which reads its name.
void package_icu_files(const release_set& set, const std::string& icutz) {
  const std::string items = set.work + "/items.txt", icupkg = find_program("icupkg");
  std::ofstream list(items);
  for (const char* name : icu_resource_names) list << name << "\n";
  list.close();
  const std::string data_file = icutz + "/" + set.data_file();
  const std::string type = "-t" + set.schema.substr(set.schema.size() - 1);
  if (icupkg.empty()) {
    warnx("Cannot run icupkg: not found");
    throw install_refused();
  }
  const int status = run_program({icupkg, "--ignore-deps", type, "-s", icutz,
                                  "-a", items, "new", data_file});
  if (status != 0) {
    warnx("icupkg exited with status %d for %s", status, data_file.c_str());
    throw install_refused();
  }
  if (chmod(data_file.c_str(), 0644) != 0) refuse("write", data_file);
}

// What an install cut short left under a hidden name.
void remove_staging_leftovers() {
  try {
    const safe_removal removal;
    for (const std::string& name : removal.directories())
      if (name.starts_with(installing_prefix) && !removal.remove(name))
        throw install_refused();
  } catch (int) {  // safe_removal has written its line
    throw install_refused();
  }
}

// zic's output moves in whole when the scratch space shares tz/'s file
// system: nothing to copy, and nothing left to remove. Else, and for a
// tree of the operator's, a copy that takes only what readers need.
void place_tree(const release_set& set, const std::string& zoneinfo) {
  if (set.tree_made_here && rename(set.tree.c_str(), zoneinfo.c_str()) == 0)
    return;
  try {
    copy_tree(set.tree, zoneinfo, "+VERSION");
  } catch (int) {  // copy_tree has written its line
    throw install_refused();
  }
}

void build_set(const release_set& set, const std::string& staging) {
  if (mkdir(staging.c_str(), 0755) != 0) refuse("create", staging);
  place_tree(set, staging + "/zoneinfo");
  write_version(staging + "/zoneinfo/+VERSION", set.version);
  copy_icu_files(set, staging + "/icutz");
  package_icu_files(set, staging + "/icutz");
  sync_directory(staging, true);
}

void point_latest_at(const std::string& path) {
  if (unlink(latest_link_draft) != 0 && errno != ENOENT)
    refuse("remove", latest_link_draft);
  if (symlink(path.c_str(), latest_link_draft) != 0)
    refuse("create", latest_link_draft);
  if (rename(latest_link_draft, latest_link) != 0)
    refuse("replace", latest_link);
  sync_directory(timezone_directory, false);
}

}  // namespace

std::string release_set::path() const {
  return std::string(mira_dataset::update_prefix) + version + ".1.0";
}

bool is_complete_set(const std::string& path, const std::string& version,
                     const std::string& schema) {
  std::error_code error;
  if (fs::read_first_word(path + "/zoneinfo/+VERSION", true) != version ||
      !stdfs::is_regular_file(path + "/icutz/icutz" + schema + ".dat", error))
    return false;
  for (const char* name : icu_resource_names)
    if (!stdfs::is_regular_file(path + "/icutz/" + name, error)) return false;
  return true;
}

void publish_release(const release_set& set) {
  remove_staging_leftovers();
  const std::string path = set.path();
  struct stat status;
  // A set under its version's name was renamed there whole: an install
  // cut off before tz_latest named it is finished by naming it. A link
  // there was not made by install, wherever it leads.
  if (lstat(path.c_str(), &status) != 0) {
    const std::string staging = std::string(updates_directory) + "/" +
                                installing_prefix + set.version + ".1.0." +
                                std::to_string(getpid());
    build_set(set, staging);
    if (rename(staging.c_str(), path.c_str()) != 0) refuse("rename", staging);
    sync_directory(updates_directory, false);
  } else if (!S_ISDIR(status.st_mode) ||
             !is_complete_set(path, set.version, set.schema)) {
    warnx("publish check failed for %s: it exists and is not a whole set",
          path.c_str());
    throw install_refused();
  }
  point_latest_at(path);
}
