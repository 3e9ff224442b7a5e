// Tested by tests/scenarios/tzctl_preview.scn and
// tests/tzctl/preview_command_test.cpp.
#include "tzctl/private_view.h"

#include <err.h>  // warn, warnx
#include <errno.h>
#include <fcntl.h>        // open, openat, O_*, AT_FDCWD
#include <sys/mount.h>    // mount, mount_setattr, MS_*, MOUNT_ATTR_RDONLY
#include <sys/stat.h>     // mkdirat
#include <sys/statvfs.h>  // fstatvfs, ST_RDONLY
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tzctl/mounts_below.h"
#include "tzctl/outside_directories.h"
#include "tzctl/printable_text.h"
#include "tzctl/private_namespace.h"
#include "tzctl/state_paths.h"

namespace {

constexpr int directory_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

// Names the directory being covered: a file system mounted below /var/db
// may be one no overlay can be made of.
int check_at(int result, const std::string& path) {
  if (result != -1) return result;
  const int error = errno;
  warn("Cannot make a private view of %s", printable(path).c_str());
  throw error;
}

int check(int result) { return check_at(result, data_directory); }

std::string fd_path(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

bool is_read_only(int directory) {
  struct statvfs mounted {};
  check(fstatvfs(directory, &mounted));
  return (mounted.f_flag & ST_RDONLY) != 0;
}

// Overlay marks in user.* extended attributes where trusted.* ones need
// root of the first namespace; a kernel that does not know the option
// (before 5.11) can only mount an overlay as that root anyway.
void mount_overlay(const covered_directory& at, const std::string& layer) {
  const std::string layers = "lowerdir=" + fd_path(at.original) +
                             ",upperdir=" + layer + "/changed" +
                             ",workdir=" + layer + "/work";
  const unsigned long flags = at.read_only ? MS_RDONLY : 0;
  if (mount("mira-tzctl", at.path.c_str(), "overlay", flags,
            (layers + ",userxattr").c_str()) == 0)
    return;
  if (errno != EINVAL) check_at(-1, at.path);
  check_at(
      mount("mira-tzctl", at.path.c_str(), "overlay", flags, layers.c_str()),
      at.path);
}

// The changes go to a memory file system mounted over /var/db itself, so
// that no other directory need be writable; the overlays then cover it.
int make_change_layer() {
  check(mount("mira-tzctl", data_directory, "tmpfs", 0, "mode=0755"));
  return check(open(data_directory, directory_flags));
}

// Covers `at` with an overlay whose changes go to `number` in `layers`.
void cover(covered_directory& at, int layers, int number) {
  const std::string name = std::to_string(number);
  check(mkdirat(layers, name.c_str(), 0700));
  check(mkdirat(layers, (name + "/changed").c_str(), 0755));
  check(mkdirat(layers, (name + "/work").c_str(), 0700));
  mount_overlay(at, fd_path(layers) + "/" + name);
  at.changed = check(openat(layers, (name + "/changed").c_str(),
                            directory_flags));
  at.seen = check_at(open(at.path.c_str(), directory_flags), at.path);
}

covered_directory original(const std::string& path) {
  const int fd = check_at(open(path.c_str(), directory_flags), path);
  return {path, fd, -1, -1, is_read_only(fd)};
}

// The kernel copies the machine's mounts into a user namespace of our own
// locked to their mount points, and makes no overlay of a directory that
// would show what one of them hides.
void refuse_without_root(const std::string& top,
                         const std::vector<std::string>& below) {
  if (below.empty()) return;
  warnx(
      "Cannot make a private view of %s without root: a file system is "
      "mounted at %s",
      printable(top).c_str(), printable(below.front()).c_str());
  throw EPERM;
}

// Each of `tops` and every file system mounted below one: an overlay's
// lower layer holds none of them, and a boot that met one would see an
// empty directory in its place. A directory comes before those mounted in
// it, so that no overlay hides one made before it.
std::vector<covered_directory> originals(const std::vector<std::string>& tops,
                                         bool without_root) {
  std::vector<std::string> paths;
  for (const std::string& top : tops) {
    std::vector<std::string> below = mounts_below(top);
    if (without_root) refuse_without_root(top, below);
    paths.push_back(top);
    paths.insert(paths.end(), below.begin(), below.end());
  }
  std::sort(paths.begin(), paths.end());
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  std::vector<covered_directory> found;
  found.reserve(paths.size());
  for (const std::string& path : paths) found.push_back(original(path));
  return found;
}

// Anything else the boot would write in fails, with EROFS, rather than
// reaching the machine.
void make_the_rest_read_only() {
  mount_attr read_only{};
  read_only.attr_set = MOUNT_ATTR_RDONLY;
  check(
      mount_setattr(AT_FDCWD, "/", AT_RECURSIVE, &read_only, sizeof read_only));
}

}  // namespace

private_view enter_private_view() {
  const bool without_root = enter_private_namespace();
  private_view view{originals({data_directory}, without_root),
                    originals(outside_directories(), without_root)};
  make_the_rest_read_only();
  const int layers = make_change_layer();
  int number = 0;
  for (std::vector<covered_directory>* list : {&view.data, &view.outside})
    for (covered_directory& at : *list) cover(at, layers, number++);
  (void)close(layers);
  return view;
}
