// Tested by tests/scenarios/tzctl_setup_image.scn and tests/image/check.
#include "tzctl/setup_image_command.h"

#include <err.h>  // warn, warnx

#include <bit>  // std::endian
#include <cstdio>
#include <optional>
#include <string>

#include "tzctl/exit_status.h"
#include "tzctl/image_environment.h"
#include "tzctl/image_localtime.h"
#include "tzctl/image_tree.h"
#include "tzctl/plain_files.h"
#include "tzctl/zic_source_version.h"

namespace {

constexpr char tree_path[] = "/usr/share/zoneinfo";
constexpr char system_tree_path[] = "/usr/share/zoneinfo.default";
// Relative, so that it resolves inside the image as on the running system.
constexpr char tree_link_target[] = "../../var/db/timezone/zoneinfo";
constexpr char icu_directory[] = "/usr/share/icu";
constexpr char icu_schema_path[] = "/usr/share/icu/icutzformat.txt";
// The directories setup-image writes in, with all above them.
constexpr const char* image_directories[] = {
    icu_directory, "/etc/systemd/system.conf.d", "/etc/systemd/user.conf.d"};

using plain_files::kind;

// ICU's time-zone resources are of format 44 since ICU 4.4; the letter is
// the byte order of the machine that reads them.
std::string icu_schema() {
  return std::endian::native == std::endian::big ? "44b\n" : "44l\n";
}

// The boot reads the system data set's version from +VERSION. One that is
// there already is the image's own and stays.
bool give_tree_a_version(const std::string& tree) {
  const std::string path = tree + "/+VERSION";
  if (plain_files::kind_of(path) != kind::none) return true;
  const std::string version = zic_source_version(tree + "/tzdata.zi");
  if (version.empty()) {
    warnx("%s/tzdata.zi has no version line, and there is no %s", tree.c_str(),
          path.c_str());
    return false;
  }
  plain_files::write_file(path, version + "\n");
  std::printf("wrote %s\n", path.c_str());
  return true;
}

// Each state a run cut short may leave is carried on from where it is.
bool move_tree(const image_tree& image) {
  const std::string tree = image.at(tree_path);
  const std::string system_tree = image.at(system_tree_path);
  const kind tree_kind = plain_files::kind_of(tree);
  const kind system_kind = plain_files::kind_of(system_tree);
  if (tree_kind == kind::link &&
      plain_files::read_link(tree) == tree_link_target &&
      system_kind == kind::directory)
    return give_tree_a_version(system_tree);
  if (tree_kind == kind::directory && system_kind == kind::none) {
    if (!give_tree_a_version(tree)) return false;
    plain_files::move(tree, system_tree);
    std::printf("moved %s to %s\n", tree.c_str(), system_tree.c_str());
  } else if (tree_kind != kind::none || system_kind != kind::directory) {
    warnx("%s and %s are neither a zoneinfo tree nor set up; changing nothing",
          tree.c_str(), system_tree.c_str());
    return false;
  }
  plain_files::write_link(tree_link_target, tree);
  std::printf("linked %s to %s\n", tree.c_str(), tree_link_target);
  return true;
}

void write_icu_schema(const image_tree& image) {
  const std::string path = image.at(icu_schema_path);
  if (plain_files::read_file(path) == icu_schema()) return;
  plain_files::make_directory(image.at(icu_directory));
  plain_files::write_file(path, icu_schema());
  std::printf("wrote %s\n", path.c_str());
}

// The link goes before the tree comes back, and +VERSION last, so that a
// run cut short is finished by the next.
bool restore_tree(const image_tree& image) {
  const std::string tree = image.at(tree_path);
  const std::string system_tree = image.at(system_tree_path);
  if (plain_files::kind_of(tree) == kind::link) {
    if (plain_files::read_link(tree) != tree_link_target) {
      warnx("%s is not the link setup-image makes; leaving it", tree.c_str());
      return false;
    }
    if (plain_files::kind_of(system_tree) != kind::directory) {
      warnx("There is no %s to restore; leaving %s", system_tree.c_str(),
            tree.c_str());
      return false;
    }
    plain_files::remove_file(tree);
  }
  if (plain_files::kind_of(tree) == kind::none &&
      plain_files::kind_of(system_tree) == kind::directory) {
    plain_files::move(system_tree, tree);
    std::printf("moved %s back to %s\n", system_tree.c_str(), tree.c_str());
  }
  const std::string version = zic_source_version(tree + "/tzdata.zi");
  const std::string version_path = tree + "/+VERSION";
  if (!version.empty() &&
      plain_files::read_file(version_path) == version + "\n") {
    plain_files::remove_file(version_path);
    std::printf("removed %s\n", version_path.c_str());
  }
  return true;
}

void remove_icu_schema(const image_tree& image) {
  const std::string path = image.at(icu_schema_path);
  if (plain_files::read_file(path) != icu_schema()) return;
  plain_files::remove_file(path);
  std::printf("removed %s\n", path.c_str());
  plain_files::remove_empty_directory(image.at(icu_directory));
}

// An image whose /usr or /etc leads elsewhere, as a link to the running
// system's would, is not changed at all.
bool has_own_directories(const image_tree& image) {
  for (const char* directory : image_directories) {
    const std::string link = image.first_link_along(directory);
    if (link.empty()) continue;
    warnx("%s is a link; setup-image changes only the image's own "
          "directories; changing nothing", link.c_str());
    return false;
  }
  return true;
}

bool set_up(const image_tree& image) {
  if (!has_own_directories(image) || !move_tree(image)) return false;
  write_icu_schema(image);
  set_icu_environment(image);
  keep_localtime_one_step(image);
  return true;
}

bool undo(const image_tree& image) {
  if (!has_own_directories(image)) return false;
  unset_icu_environment(image);
  remove_icu_schema(image);
  return restore_tree(image);
}

}  // namespace

int setup_image_command(const std::string& root, bool undoing) {
  const image_tree image(root);
  try {
    if (undoing ? undo(image) : set_up(image)) return exit_status::ok;
  } catch (int) {  // plain_files has written its line; a rerun finishes
    warnx("Image set-up incomplete; run it again");
  }
  return exit_status::not_done;
}
