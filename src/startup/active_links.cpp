// Tested by tests/scenarios/ (reconcile.scn, hostile.scn).
#include "startup/active_links.h"

#include <err.h>  // warn

#include <string_view>

#include "dataset/mira_dataset.h"
#include "dataset/mira_zoneinfo.h"
#include "fs/operations.h"

std::string read_latest_link() { return fs::read_symlink(latest_link); }

std::string current_dataset_path() {
  return dataset_path_from_link(fs::read_symlink(mira_zoneinfo::link_path));
}

std::string dataset_path_from_link(const std::string& target) {
  constexpr std::string_view prefix = mira_dataset::update_prefix;
  if (target.size() > prefix.size() && target.starts_with(prefix)) {
    // The link names something inside the data set's directory: cut its
    // last component, whatever it is called. At least one byte of
    // directory name must follow the prefix.
    const size_t last_slash = target.rfind('/');
    if (last_slash > prefix.size()) return target.substr(0, last_slash);
  } else if (target == mira_zoneinfo::system_directory) {
    return {};
  }
  warn("Bad zoneinfo link %s", target.c_str());
  throw -1;
}
