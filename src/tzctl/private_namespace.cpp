// Tested by tests/tzctl/preview_command_test.cpp.
#include "tzctl/private_namespace.h"

#include <err.h>  // warn
#include <errno.h>
#include <fcntl.h>      // open, O_*
#include <sched.h>      // unshare, CLONE_NEWNS, CLONE_NEWUSER
#include <sys/mount.h>  // mount, MS_*
#include <unistd.h>

#include <string>

namespace {

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

}  // namespace

bool enter_private_namespace() {
  const bool without_root = unshare(CLONE_NEWNS) != 0;
  if (without_root && !enter_user_namespace()) {
    const int error = errno;
    warn(
        "Cannot make a private view of /var/db: not root, and no user "
        "namespace could be made");
    throw error;
  }
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
    const int error = errno;
    warn("Cannot make a private view of /var/db");
    throw error;
  }
  return without_root;
}
