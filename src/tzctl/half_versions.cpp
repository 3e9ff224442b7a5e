// Tested by tests/scenarios/tzctl_status.scn, limits.scn and
// tzctl_install.scn.
#include "tzctl/half_versions.h"

#include "dataset/mira_zoneinfo.h"
#include "fs/read_first_word.h"
#include "tzctl/icu_resource.h"

namespace {

// A release's name is a few bytes. Only the first block of +VERSION is
// read, so that a huge file costs no memory, and a word that fills it
// names no release a reader could use.
constexpr std::size_t longest_version = 64;

std::string tree_version(const std::string& tree) {
  std::string word = fs::read_first_word(tree + "/+VERSION", true);
  return word.size() <= longest_version ? word : "";
}

}  // namespace

half_versions read_half_versions(const std::string& dataset_path) {
  if (dataset_path.empty())
    return {tree_version(mira_zoneinfo::system_directory), icu_tz_version("")};
  return {tree_version(dataset_path + "/zoneinfo"),
          icu_tz_version(dataset_path + "/icutz")};
}
