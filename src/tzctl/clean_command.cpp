// Tested by tests/scenarios/tzctl_clean.scn.
#include "tzctl/clean_command.h"

#include <err.h>  // warn
#include <errno.h>
#include <stdio.h>  // rename

#include <cinttypes>  // PRIuMAX
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"
#include "fs/operations.h"
#include "startup/active_links.h"
#include "startup/touch_cleanup_marker.h"
#include "tzctl/unnamed_datasets.h"

namespace stdfs = std::filesystem;

namespace {

// Bytes of data in the regular files below `directory`; links and
// directories themselves are not counted.
std::uintmax_t data_bytes(const stdfs::path& directory) {
  std::uintmax_t total = 0;
  std::error_code error;
  for (stdfs::recursive_directory_iterator walk(directory, error), end;
       !error && walk != end; walk.increment(error)) {
    if (walk->symlink_status(error).type() == stdfs::file_type::regular)
      total += walk->file_size(error);
  }
  return total;
}

// Renamed to a hidden name first: an interrupted removal must never leave
// part of a data set under a version's name, where it would pass for one.
bool remove_dataset(const stdfs::path& directory) {
  stdfs::path doomed = directory;
  const std::string name = directory.filename().string();
  if (!name.starts_with(set_aside_prefix)) {
    doomed.replace_filename(set_aside_prefix + name);
    if (rename(directory.c_str(), doomed.c_str()) != 0) {
      warn("Could not set %s aside", directory.c_str());
      return false;
    }
  }
  std::error_code error;
  stdfs::remove_all(doomed, error);
  if (!error) return true;
  errno = error.value();
  warn("Could not remove %s", doomed.c_str());
  return false;
}

}  // namespace

int clean_command(bool dry_run) {
  if (!fs::exists(cleanup_marker)) {
    std::printf("No clean-up marker: nothing to clean.\n");
    return 0;
  }
  std::vector<stdfs::path> doomed;
  try {
    doomed = unnamed_datasets({fs::read_symlink(mira_zoneinfo::link_path),
                               fs::read_symlink(mira_icu::link_path),
                               read_latest_link()});
  } catch (int) {  // fs::read_symlink has written its line
    warn("Cannot tell which data sets are in use; removing nothing");
    return 1;
  } catch (const stdfs::filesystem_error& failure) {
    errno = failure.code().value();
    warn("Cannot list %s; removing nothing", failure.path1().c_str());
    return 1;
  }
  std::uintmax_t total = 0;
  bool complete = true;
  for (const stdfs::path& directory : doomed) {
    const std::uintmax_t bytes = data_bytes(directory);
    std::printf("%s: %" PRIuMAX " bytes\n", directory.c_str(), bytes);
    std::fflush(stdout);  // before any line about it on standard error
    if (!dry_run && !remove_dataset(directory)) {
      complete = false;
    } else {
      total += bytes;
    }
  }
  if (dry_run) {
    std::printf("Dry run: %" PRIuMAX " bytes to reclaim; nothing changed.\n",
                total);
    return 0;
  }
  if (!complete) {
    warn("Clean-up incomplete; the clean-up marker stays");
    return 1;
  }
  try {
    fs::remove(cleanup_marker);
  } catch (int) {  // fs::remove has written its line; the data is gone
    return 1;
  }
  std::printf("Reclaimed %" PRIuMAX " bytes; clean-up marker removed.\n",
              total);
  return 0;
}
