// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/outside_directories.h"

#include <errno.h>
#include <sys/stat.h>  // stat, S_ISREG

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "startup/write_version_diff_record.h"
#include "tzctl/named_entries.h"
#include "tzctl/state_paths.h"

namespace stdfs = std::filesystem;

namespace {

bool is_within(const stdfs::path& path, const stdfs::path& top) {
  const auto [at, unused] = std::mismatch(top.begin(), top.end(), path.begin(),
                                          path.end());
  return at == top.end();
}

// The boot writes the record only into a regular file, or a new one: a
// link to a device, a FIFO or a directory leaves it nothing to change.
bool record_may_be_written() {
  struct stat status;
  if (stat(version_diff_record, &status) != 0) return errno == ENOENT;
  return S_ISREG(status.st_mode);
}

// Where the boot's open of the record lands: it follows a chain of links
// to its end, and creates the last name when nothing is there.
stdfs::path record_directory() {
  const stdfs::path record = version_diff_record;
  if (!record_may_be_written()) return record.parent_path();
  return resolved(record).parent_path();
}

}  // namespace

std::vector<std::string> outside_directories() {
  std::error_code error;
  const stdfs::path data = stdfs::canonical(data_directory, error);
  if (error) return {};
  std::vector<std::string> outside;
  for (const stdfs::path& written : {stdfs::path(timezone_directory),
                                     record_directory()}) {
    const stdfs::path directory = stdfs::canonical(written, error);
    // A directory that holds /var/db cannot be covered without hiding it.
    if (error || is_within(directory, data) || is_within(data, directory))
      continue;
    if (std::find(outside.begin(), outside.end(), directory) == outside.end())
      outside.push_back(directory);
  }
  return outside;
}
