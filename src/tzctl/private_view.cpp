// Tested by tests/scenarios/tzctl_preview.scn and
// tests/tzctl/preview_command_test.cpp.
#include "tzctl/private_view.h"

#include <err.h>  // warn
#include <errno.h>
#include <fcntl.h>        // open, openat, O_*, AT_FDCWD
#include <sched.h>        // unshare, CLONE_NEWNS, CLONE_NEWUSER
#include <sys/mount.h>    // mount, mount_setattr, MS_*, MOUNT_ATTR_RDONLY
#include <sys/stat.h>     // mkdirat
#include <sys/statvfs.h>  // fstatvfs, ST_RDONLY
#include <unistd.h>

#include <string>
#include <vector>

#include "tzctl/outside_directories.h"
#include "tzctl/state_paths.h"

namespace {

constexpr int directory_flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

bool write_file(const char* path, const std::string& text) {
  const int fd = open(path, O_WRONLY | O_CLOEXEC);
  if (fd == -1) return false;
  const bool written =
      write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  (void)close(fd);
  return written;
}

// Root of a user namespace of our own, mapped to our own ids, has the
// rights a private mount namespace and an overlay need.
bool enter_user_namespace() {
  const std::string uid = std::to_string(geteuid());
  const std::string gid = std::to_string(getegid());
  return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
         write_file("/proc/self/setgroups", "deny") &&
         write_file("/proc/self/uid_map", "0 " + uid + " 1") &&
         write_file("/proc/self/gid_map", "0 " + gid + " 1");
}

int check(int result) {
  if (result != -1) return result;
  const int error = errno;
  warn("Cannot make a private view of /var/db");
  throw error;
}

std::string fd_path(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

bool is_read_only(int directory) {
  struct statvfs mounted {};
  check(fstatvfs(directory, &mounted));
  return (mounted.f_flag & ST_RDONLY) != 0;
}

// Overlay marks in user.* extended attributes where trusted.* ones need
// root of the first namespace; a kernel that does not know the option
// (before 5.11) can only mount an overlay as that root anyway.
void mount_overlay(const covered_directory& at, const std::string& layer,
                   bool read_only) {
  const std::string layers = "lowerdir=" + fd_path(at.original) +
                             ",upperdir=" + layer + "/changed" +
                             ",workdir=" + layer + "/work";
  const unsigned long flags = read_only ? MS_RDONLY : 0;
  if (mount("mira-tzctl", at.path.c_str(), "overlay", flags,
            (layers + ",userxattr").c_str()) == 0)
    return;
  if (errno != EINVAL) check(-1);
  check(mount("mira-tzctl", at.path.c_str(), "overlay", flags, layers.c_str()));
}

// The changes go to a memory file system mounted over /var/db itself, so
// that no other directory need be writable; the overlays then cover it.
int make_change_layer() {
  check(mount("mira-tzctl", data_directory, "tmpfs", 0, "mode=0755"));
  return check(open(data_directory, directory_flags));
}

// Covers `at` with an overlay whose changes go to `number` in `layers`.
void cover(covered_directory& at, int layers, int number, bool read_only) {
  const std::string name = std::to_string(number);
  check(mkdirat(layers, name.c_str(), 0700));
  check(mkdirat(layers, (name + "/changed").c_str(), 0755));
  check(mkdirat(layers, (name + "/work").c_str(), 0700));
  mount_overlay(at, fd_path(layers) + "/" + name, read_only);
  at.changed = check(openat(layers, (name + "/changed").c_str(),
                            directory_flags));
  at.seen = check(open(at.path.c_str(), directory_flags));
}

covered_directory original(const std::string& path) {
  return {path, check(open(path.c_str(), directory_flags)), -1, -1};
}

}  // namespace

private_view enter_private_view() {
  if (unshare(CLONE_NEWNS) != 0 && !enter_user_namespace()) {
    const int error = errno;
    warn(
        "Cannot make a private view of /var/db: not root, and no user "
        "namespace could be made");
    throw error;
  }
  // Nothing mounted from here on may propagate to the machine's namespace.
  check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr));
  private_view view{original(data_directory), {}, true};
  view.writable = !is_read_only(view.data.original);
  std::vector<bool> outside_read_only;
  for (const std::string& path : outside_directories()) {
    view.outside.push_back(original(path));
    outside_read_only.push_back(is_read_only(view.outside.back().original));
  }
  // Anything else the boot would write in fails here, with EROFS, rather
  // than reaching the machine.
  mount_attr read_only{};
  read_only.attr_set = MOUNT_ATTR_RDONLY;
  check(
      mount_setattr(AT_FDCWD, "/", AT_RECURSIVE, &read_only, sizeof read_only));
  const int layers = make_change_layer();
  cover(view.data, layers, 0, !view.writable);
  for (size_t i = 0; i < view.outside.size(); ++i)
    cover(view.outside[i], layers, i + 1, outside_read_only[i]);
  (void)close(layers);
  return view;
}
