// Tested by tests/scenarios/icu_schema.scn, limits.scn and
// tests/dataset/mira_icu_test.cpp.
#include "dataset/mira_icu.h"

#include <dirent.h>  // opendir, readdir, closedir, dirfd
#include <err.h>     // warn
#include <errno.h>
#include <fcntl.h>     // AT_SYMLINK_NOFOLLOW
#include <sys/stat.h>  // fstatat, S_IROTH

#include <string_view>

#include "dataset/icu_data_file_match.h"
#include "fs/operations.h"
#include "fs/read_first_word.h"

namespace {

constexpr char system_directory[] = "/usr/share/icu";

std::string choose_directory(const std::string& dataset_path) {
  if (dataset_path.empty()) return system_directory;
  return dataset_path + "/" + "icutz";
}

// Only a world-readable regular file can name the schema. It is looked at
// without following links: a link never qualifies.
bool is_readable_data_file(DIR* directory, const dirent& entry) {
  if (entry.d_type != DT_REG && entry.d_type != DT_UNKNOWN) return false;
  struct stat status;
  if (fstatat(dirfd(directory), entry.d_name, &status, AT_SYMLINK_NOFOLLOW))
    return false;
  return S_ISREG(status.st_mode) && (status.st_mode & S_IROTH) != 0;
}

// The first data file directly inside the directory wins, in the order the
// file system lists them; nothing is sorted, and subdirectories are not
// entered. readdir(3) reads a block of names at a time, so the memory this
// takes does not grow with the number of entries.
std::string schema_from_names(DIR* directory) {
  for (const dirent* entry; (entry = readdir(directory)) != nullptr;) {
    const std::string_view found = match_icu_data_file_name(entry->d_name);
    if (!found.empty() && is_readable_data_file(directory, *entry))
      return std::string(found);
  }
  return std::string();
}

}  // namespace

mira_icu::mira_icu() : mira_icu(std::string()) {}

mira_icu::mira_icu(const std::string& dataset_path)
    : mira_dataset_component(dataset_path),
      directory(choose_directory(dataset_path)) {
  initialize();
}

void mira_icu::initialize() {
  if (dataset_path.empty()) {
    // A missing or blank format file leaves the schema empty, silently.
    schema = fs::read_first_word(directory + "/" + "icutzformat.txt");
    return;
  }
  // A link to a directory is followed; a missing or unreadable directory
  // holds no data file.
  if (DIR* names = opendir(directory.c_str())) {
    schema = schema_from_names(names);
    (void)closedir(names);
  }
  if (schema.empty()) {
    // A search that found nothing ends with errno 0, as a finished walk of
    // the tree always has: the line, and those after it, show it.
    errno = 0;
    warn("No ICU schema found for %s", dataset_path.c_str());
  }
}

bool mira_icu::compatible_schema(const mira_dataset_component& other) const {
  const auto* other_icu = dynamic_cast<const mira_icu*>(&other);
  if (other_icu == nullptr) {
    warn("mira_icu::compatible_schema: could not dynamic_cast other component");
    return false;
  }
  return schema == other_icu->schema;
}

void mira_icu::activate() {
  try {
    fs::remove(mira_icu::link_path);
    fs::remove(mira_icu::legacy_link_path);
  } catch (...) {  // fs::remove has written its line; creation still runs
    warn("unlink of ICU softlink failed");
  }
  // The system's ICU data needs no link: readers fall back to it.
  if (!dataset_path.empty()) fs::create_symlink(directory, mira_icu::link_path);
}
