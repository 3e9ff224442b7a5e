// Tested by the class lines of tests/scenarios/startup.scn and
// tests/startup/touch_cleanup_marker_test.cpp.
#include "fs/platform.h"

#include <errno.h>
#include <fcntl.h>  // open, fcntl, O_CREAT, O_EXCL
#include <unistd.h>

#if !MIRA_HAVE_DATA_PROTECTION
#include <sys/xattr.h>  // fsetxattr

#include <string>
#endif

namespace platform {

#if MIRA_HAVE_DATA_PROTECTION

void set_protection_class(int fd, int protection_class) {
  (void)fcntl(fd, F_SETPROTECTIONCLASS, protection_class);
}

int open_protected(const char* path, int flags, int protection_class,
                   mode_t mode) {
  return open_dprotected_np(path, flags, protection_class, 0, mode);
}

#else

namespace {
constexpr char protection_attribute[] = "user.protection_class";
}  // namespace

void set_protection_class(int fd, int protection_class) {
  // errno is part of what the next warning line prints; keep it as it was.
  const int saved = errno;
  const std::string text = std::to_string(protection_class);
  (void)fsetxattr(fd, protection_attribute, text.data(), text.size(), 0);
  errno = saved;
}

int open_protected(const char* path, int flags, int protection_class,
                   mode_t mode) {
  if ((flags & O_CREAT) == 0) return open(path, flags, mode);
  // Creating exclusively tells a new file from an old one: only the new
  // file gets the class.
  int fd = open(path, flags | O_EXCL, mode);
  if (fd >= 0) {
    set_protection_class(fd, protection_class);
    return fd;
  }
  if (errno != EEXIST || (flags & O_EXCL) != 0) return -1;
  fd = open(path, flags & ~O_CREAT, mode);
  if (fd >= 0 || errno != ENOENT) return fd;
  // Something is there and yet nothing opens: a dangling link, or an entry
  // that went away in between. Open as plainly asked, once, and leave the
  // class alone, since who created the file cannot be told.
  return open(path, flags, mode);
}

#endif

}  // namespace platform
