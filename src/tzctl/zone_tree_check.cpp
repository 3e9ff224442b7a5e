// Tested by tests/scenarios/tzctl_install.scn.
#include "tzctl/zone_tree_check.h"

#include <err.h>  // warnx

#include <filesystem>
#include <set>

#include "tzctl/install_refused.h"
#include "tzctl/printable_text.h"
#include "tzctl/tzif_file.h"

namespace stdfs = std::filesystem;

namespace {

// Relative paths of the regular files below `tree`, links not followed.
std::set<std::string> regular_files(const std::string& tree) {
  std::set<std::string> files;
  std::error_code error;
  for (stdfs::recursive_directory_iterator walk(tree, error), end;
       !error && walk != end; walk.increment(error))
    if (walk->symlink_status(error).type() == stdfs::file_type::regular)
      files.insert(walk->path().lexically_relative(tree).string());
  return files;
}

std::set<std::string> system_zones(const std::string& system_tree) {
  std::set<std::string> zones;
  for (const std::string& name : regular_files(system_tree))
    if (!name.starts_with("posix/") && !name.starts_with("right/") &&
        starts_as_tzif_file(system_tree + "/" + name))
      zones.insert(name);
  return zones;
}

[[noreturn]] void refuse_cut_zone(const std::string& zone,
                                  const std::string& source) {
  warnx("tzif check failed for %s of %s: not a whole TZif file",
        printable(zone).c_str(), source.c_str());
  throw install_refused();
}

[[noreturn]] void refuse_missing_zone(const std::string& zone,
                                      const std::string& source) {
  warnx("zones check failed for %s of %s: the system data set has it, the "
        "release does not",
        printable(zone).c_str(), source.c_str());
  throw install_refused();
}

}  // namespace

std::size_t check_zone_tree(const std::string& tree,
                            const std::string& system_tree,
                            const std::string& source) {
  const std::set<std::string> wanted = system_zones(system_tree);
  std::size_t zone_files = 0;
  // A zone the system has is a zone file here even when it is cut short
  // before its first bytes.
  for (const std::string& name : regular_files(tree)) {
    const std::string path = tree + "/" + name;
    if (!wanted.contains(name) && !starts_as_tzif_file(path)) continue;
    if (!is_whole_tzif_file(path)) refuse_cut_zone(name, source);
    ++zone_files;
  }
  for (const std::string& zone : wanted) {
    std::error_code error;
    if (!stdfs::exists(stdfs::symlink_status(tree + "/" + zone, error)))
      refuse_missing_zone(zone, source);
  }
  return zone_files;
}
