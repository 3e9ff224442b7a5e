// Tested by tests/dataset/mira_icu_test.cpp.
#include "dataset/mira_icu.h"

#include <err.h>  // warn
#include <errno.h>
#include <fts.h>
#include <string.h>    // strerror
#include <sys/stat.h>  // S_IROTH

#include <fstream>
#include <regex>

#include "fs/operations.h"

namespace {

constexpr char system_directory[] = "/usr/share/icu";
constexpr char icutz_link[] = "/var/db/timezone/icutz";
constexpr char legacy_link[] = "/var/db/icutz";
constexpr char data_file_pattern[] = R"(icutz([0-9]+[lbe])\.dat)";

std::string choose_directory(const std::string& dataset_path) {
  if (dataset_path.empty()) return system_directory;
  return dataset_path + "/" + "icutz";
}

// Only a world-readable regular file directly inside the directory can name
// the schema: the walk is physical, so a link never qualifies.
bool names_data_file(const FTSENT& entry) {
  return entry.fts_errno == 0 && entry.fts_level == 1 &&
         entry.fts_name[0] != '\0' && entry.fts_info == FTS_F &&
         (entry.fts_statp->st_mode & S_IROTH) != 0;
}

// The first data file the walk delivers wins; nothing is sorted.
void read_schema_from_names(FTS* walk, std::string& schema) {
  const std::regex pattern(data_file_pattern, std::regex::ECMAScript);
  std::cmatch match;
  for (FTSENT* entry; (entry = fts_read(walk)) != nullptr;) {
    if (!schema.empty()) break;
    if (names_data_file(*entry) &&
        std::regex_match(entry->fts_name, match, pattern))
      schema = match[1].str();
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
    std::ifstream file(directory + "/" + "icutzformat.txt");
    file >> schema;
    return;
  }
  std::string root = directory;  // fts_open wants writable strings
  char* roots[] = {root.data(), nullptr};
  FTS* walk = fts_open(roots, FTS_COMFOLLOW | FTS_PHYSICAL | FTS_XDEV, nullptr);
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
    fs::remove(icutz_link);
    fs::remove(legacy_link);
  } catch (...) {  // fs::remove has written its line; creation still runs
    warn("unlink of ICU softlink failed");
  }
  // The system's ICU data needs no link: readers fall back to it.
  if (!dataset_path.empty()) fs::create_symlink(directory, icutz_link);
}
