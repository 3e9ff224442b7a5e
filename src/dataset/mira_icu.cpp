// Tested by tests/dataset/mira_icu_test.cpp.
#include "dataset/mira_icu.h"

#include <err.h>  // warn
#include <errno.h>
#include <fts.h>
#include <string.h>    // strerror
#include <sys/stat.h>  // S_IROTH

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

// Only a world-readable regular file can name the schema. The walk does not
// stat what it delivers, so a candidate is looked at here, without
// following links: a link never qualifies.
bool is_readable_data_file(const FTSENT& entry) {
  if (entry.fts_errno != 0 || entry.fts_name[0] == '\0') return false;
  struct stat status;
  if (entry.fts_info == FTS_NSOK) {
    if (lstat(entry.fts_accpath, &status) != 0) return false;
  } else if (entry.fts_info == FTS_F) {
    status = *entry.fts_statp;
  } else {
    return false;
  }
  return S_ISREG(status.st_mode) && (status.st_mode & S_IROTH) != 0;
}

// The first data file the walk delivers wins; nothing is sorted. Only
// entries directly inside the directory count, so subdirectories are not
// entered: on a large tree that is most of the cost.
void read_schema_from_names(FTS* walk, std::string& schema) {
  for (FTSENT* entry; (entry = fts_read(walk)) != nullptr;) {
    if (!schema.empty()) break;
    if (entry->fts_level != 1) continue;
    if (entry->fts_info == FTS_D) (void)fts_set(walk, entry, FTS_SKIP);
    const std::string_view found = match_icu_data_file_name(
        std::string_view(entry->fts_name, entry->fts_namelen));
    if (!found.empty() && is_readable_data_file(*entry)) schema = found;
  }
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
  std::string root = directory;  // fts_open wants writable strings
  char* roots[] = {root.data(), nullptr};
  FTS* walk = fts_open(
      roots, FTS_COMFOLLOW | FTS_PHYSICAL | FTS_XDEV | FTS_NOSTAT, nullptr);
  if (walk == nullptr) {
    const int error = errno;
    warn("tz_icu::initialize: fts_open of %s failed, %s", directory.c_str(),
         strerror(error));
    throw error;
  }
  read_schema_from_names(walk, schema);
  (void)fts_close(walk);
  if (schema.empty()) warn("No ICU schema found for %s", dataset_path.c_str());
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
