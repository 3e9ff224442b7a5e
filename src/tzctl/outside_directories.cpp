// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/outside_directories.h"

#include <err.h>  // warnx
#include <errno.h>
#include <sys/stat.h>  // stat, S_ISREG

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

#include "startup/write_version_diff_record.h"
#include "tzctl/named_entries.h"
#include "tzctl/printable_text.h"
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
// to its end, and creates the last name when nothing is there. None when
// it would write nothing.
std::optional<stdfs::path> record_directory() {
  if (!record_may_be_written()) return std::nullopt;
  return resolved(version_diff_record).parent_path();
}

// Adds the directory `written` leads to when it lies outside /var/db;
// false when it holds /var/db, which no overlay can cover without hiding
// it.
bool add_outside(const stdfs::path& written, const stdfs::path& data,
                 std::vector<std::string>& outside) {
  std::error_code error;
  const stdfs::path directory = stdfs::canonical(written, error);
  if (error || is_within(directory, data)) return true;
  if (is_within(data, directory)) return false;
  if (std::find(outside.begin(), outside.end(), directory) == outside.end())
    outside.push_back(directory);
  return true;
}

}  // namespace

std::vector<std::string> outside_directories() {
  std::error_code error;
  const stdfs::path data = stdfs::canonical(data_directory, error);
  if (error) return {};
  std::vector<std::string> outside;
  // A link the boot would make in a directory that holds /var/db fails in
  // the view with a line, which the preview reports as a write it does not
  // allow; the record is written in silence, so its failure there would
  // go unseen.
  (void)add_outside(timezone_directory, data, outside);
  const std::optional<stdfs::path> record = record_directory();
  if (record && !add_outside(*record, data, outside)) {
    warnx(
        "Cannot make a private view of /var/db: the version record leads to "
        "%s, which holds it",
        printable(record->string()).c_str());
    throw EXDEV;
  }
  return outside;
}
