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

// The release's names, links not followed: those that are there in any
// form, and its regular files that do not start as TZif files.
struct release_names {
  std::set<std::string> present, not_tzif;
};

bool is_system_only(const std::string& name) {
  return name.starts_with("posix/") || name.starts_with("right/");
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

// Relative paths of the entries below `tree` that are not directories,
// links not followed; `regular` gets the regular files among them.
std::set<std::string> entries(const std::string& tree,
                              std::set<std::string>& regular) {
  std::set<std::string> names;
  std::error_code error;
  for (stdfs::recursive_directory_iterator walk(tree, error), end;
       !error && walk != end; walk.increment(error)) {
    // The type readdir gave, where it gave one: no stat for each entry.
    const bool is_link = walk->is_symlink(error);
    if (!is_link && walk->is_directory(error)) continue;
    std::string name = walk->path().lexically_relative(tree).string();
    if (!is_link && walk->is_regular_file(error)) regular.insert(name);
    names.insert(std::move(name));
  }
  return names;
}

// Each TZif file of the release must be whole; the others are looked at
// again only if the system has a zone of their name. Sorted, so that the
// first bad file named is the same on every file system.
release_names check_release_files(const std::string& tree,
                                  const std::string& source,
                                  std::size_t& zone_files) {
  release_names names;
  std::set<std::string> regular;
  names.present = entries(tree, regular);
  for (const std::string& name : regular) {
    const tzif_shape shape = tzif_shape_of(tree + "/" + name);
    if (shape == tzif_shape::cut) refuse_cut_zone(name, source);
    if (shape == tzif_shape::other) names.not_tzif.insert(name);
    else ++zone_files;
  }
  return names;
}

}  // namespace

std::size_t check_zone_tree(const std::string& tree,
                            const std::string& system_tree,
                            const std::string& source) {
  std::size_t zone_files = 0;
  const release_names release = check_release_files(tree, source, zone_files);
  // The system's files are opened only where the release differs: a zone
  // the system has must be here, and a whole zone file, even when it is
  // cut short before its first bytes.
  std::set<std::string> system_regular;
  entries(system_tree, system_regular);
  for (const std::string& name : system_regular) {
    const bool missing = !release.present.contains(name);
    if (is_system_only(name) || (!missing && !release.not_tzif.contains(name)) ||
        tzif_shape_of(system_tree + "/" + name) == tzif_shape::other)
      continue;
    if (missing) refuse_missing_zone(name, source);
    refuse_cut_zone(name, source);
  }
  return zone_files;
}
