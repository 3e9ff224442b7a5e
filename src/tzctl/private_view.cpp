// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/private_view.h"

#include <err.h>  // warn
#include <errno.h>
#include <fcntl.h>      // open, O_PATH, O_DIRECTORY, AT_FDCWD
#include <sched.h>      // unshare, CLONE_NEWNS, CLONE_NEWUSER
#include <sys/mount.h>  // mount, mount_setattr, MS_*, MOUNT_ATTR_RDONLY
#include <unistd.h>

#include <filesystem>
#include <string>

#include "dataset/mira_dataset.h"
#include "dataset/mira_icu.h"
#include "tzctl/state_paths.h"

namespace stdfs = std::filesystem;

namespace {

constexpr auto copy_options =
    stdfs::copy_options::recursive | stdfs::copy_options::copy_symlinks;

bool write_file(const char* path, const std::string& text) {
  const int fd = open(path, O_WRONLY | O_CLOEXEC);
  if (fd == -1) return false;
  const bool written =
      write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  (void)close(fd);
  return written;
}

// Root of a user namespace of our own, mapped to our own ids, has the
// rights a private mount namespace needs.
bool enter_user_namespace() {
  const std::string uid = std::to_string(geteuid());
  const std::string gid = std::to_string(getegid());
  return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
         write_file("/proc/self/setgroups", "deny") &&
         write_file("/proc/self/uid_map", "0 " + uid + " 1") &&
         write_file("/proc/self/gid_map", "0 " + gid + " 1");
}

void check(int result) {
  if (result == 0) return;
  const int error = errno;
  warn("Cannot make a private view of /var/db");
  throw error;
}

// The update directories are only read by a boot, and may be large: they
// are bound, not copied, and read-only.
void bind_read_only(const stdfs::path& from, const stdfs::path& to) {
  stdfs::create_directory(to);
  check(mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr));
  check(mount(nullptr, to.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY,
              nullptr));
}

void copy_timezone_directory(const stdfs::path& from) {
  const stdfs::path updates =
      stdfs::path(mira_dataset::update_prefix).parent_path();
  stdfs::create_directory(timezone_directory, from);
  for (const auto& entry : stdfs::directory_iterator(from)) {
    const stdfs::path to = timezone_directory / entry.path().filename();
    if (to == updates && entry.is_directory()) {
      bind_read_only(entry.path(), to);
    } else {
      stdfs::copy(entry.path(), to, copy_options);
    }
  }
}

// `original` still reaches the machine's /var/db once the copy covers it.
void copy_written_entries(int original) {
  const stdfs::path source = "/proc/self/fd/" + std::to_string(original);
  const stdfs::path base = data_directory;
  for (const char* written :
       {timezone_directory, mira_icu::legacy_link_path, legacy_icu_path}) {
    const stdfs::path entry = written;
    const stdfs::path from = source / entry.lexically_relative(base);
    if (!stdfs::exists(stdfs::symlink_status(from))) continue;
    if (entry == timezone_directory && stdfs::is_directory(from)) {
      copy_timezone_directory(from);
    } else {
      stdfs::copy(from, entry, copy_options);
    }
  }
}

}  // namespace

void enter_private_view() {
  if (unshare(CLONE_NEWNS) != 0 && !enter_user_namespace()) {
    const int error = errno;
    warn(
        "Cannot make a private view of /var/db: not root, and no user "
        "namespace could be made");
    throw error;
  }
  // Nothing mounted from here on may propagate to the machine's namespace.
  check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr));
  const int original = open(data_directory, O_PATH | O_DIRECTORY | O_CLOEXEC);
  check(original == -1 ? -1 : 0);
  // Should a boot write through a link that leads out of /var/db, the
  // write fails here rather than reaching the machine.
  mount_attr read_only{};
  read_only.attr_set = MOUNT_ATTR_RDONLY;
  check(
      mount_setattr(AT_FDCWD, "/", AT_RECURSIVE, &read_only, sizeof read_only));
  check(mount("mira-tzctl", data_directory, "tmpfs", 0, "mode=0755"));
  try {
    copy_written_entries(original);
  } catch (const stdfs::filesystem_error& failure) {
    errno = failure.code().value();
    check(-1);
  }
  (void)close(original);
}
