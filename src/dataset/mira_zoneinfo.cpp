// Tested by tests/scenarios/update.scn, hostile.scn and
// unreadable_files.scn.
#include "dataset/mira_zoneinfo.h"

#include <err.h>  // warn

#include "fs/operations.h"
#include "fs/read_first_word.h"

namespace {

std::string choose_directory(const std::string& dataset_path) {
  if (dataset_path.empty()) return mira_zoneinfo::system_directory;
  return dataset_path + "/" + "zoneinfo";
}

}  // namespace

mira_zoneinfo::mira_zoneinfo() : mira_zoneinfo(std::string()) {}

mira_zoneinfo::mira_zoneinfo(const std::string& dataset_path)
    : mira_dataset_component(dataset_path),
      directory(choose_directory(dataset_path)) {
  read_version();
}

void mira_zoneinfo::read_version() {
  // A missing, unreadable or blank file leaves the version empty, silently:
  // the data set decides what an empty version means. Only the system's
  // word names a data set (an update is named by its directory), so an
  // update's file is opened and read as ever, but only its first block.
  version =
      fs::read_first_word(directory + "/" + "+VERSION", !dataset_path.empty());
}

bool mira_zoneinfo::compatible_schema(const mira_dataset_component&) const {
  return true;  // any zoneinfo tree goes with any ICU data
}

void mira_zoneinfo::activate() {
  try {
    fs::remove(link_path);
  } catch (...) {  // fs::remove has written its line; creation still runs
    warn("Unlink of zoneinfo softlink failed");
  }
  fs::create_symlink(directory, link_path);
}
