// Tested by tests/scenarios/tzctl_install.scn and the install crash
// injection in tests/crash/.
#include "tzctl/tree_copy.h"

#include <err.h>  // warn
#include <errno.h>
#include <fcntl.h>     // open, O_*
#include <sys/stat.h>  // mkdir, fchmod
#include <unistd.h>    // read, write, link, symlink, close

#include <filesystem>
#include <map>
#include <utility>

namespace stdfs = std::filesystem;

namespace {

constexpr mode_t directory_mode = 0755, file_mode = 0644;

[[noreturn]] void fail(const char* what, const std::string& path) {
  const int error = errno;
  warn("Cannot %s %s", what, path.c_str());
  throw error;
}

bool write_all(int fd, const char* data, ssize_t length) {
  while (length > 0) {
    const ssize_t written = write(fd, data, length);
    if (written <= 0) return false;
    data += written;
    length -= written;
  }
  return true;
}

}  // namespace

void copy_file(const std::string& from, const std::string& to) {
  const int in = open(from.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) fail("read", from);
  const int out =
      open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, file_mode);
  if (out < 0) {
    close(in);
    fail("create", to);
  }
  char buffer[1 << 16];
  ssize_t got = 0;
  bool written = true;
  while (written && (got = read(in, buffer, sizeof buffer)) > 0)
    written = write_all(out, buffer, got);
  // Install's umask leaves file_mode as it is: no fchmod for each file.
  const bool done = written && got == 0;
  close(in);
  if (!done) {
    close(out);
    fail("write", to);
  }
  if (close(out) != 0) fail("write", to);
}

void copy_tree(const std::string& from, const std::string& to,
               const std::string& skip) {
  if (mkdir(to.c_str(), directory_mode) != 0) fail("create", to);
  std::map<std::pair<dev_t, ino_t>, std::string> copied;  // for hard links
  std::error_code error;
  stdfs::recursive_directory_iterator walk(from, error), end;
  for (; !error && walk != end; walk.increment(error)) {
    const stdfs::path relative = walk->path().lexically_relative(from);
    if (walk.depth() == 0 && relative == skip) continue;
    const std::string source = walk->path(), target = to + "/" + relative.string();
    // The type readdir gave; only a regular file needs its inode.
    struct stat status;
    if (walk->is_symlink(error)) {
      const stdfs::path link = stdfs::read_symlink(source, error);
      if (error || symlink(link.c_str(), target.c_str()) != 0)
        fail("create", target);
    } else if (walk->is_directory(error)) {
      if (mkdir(target.c_str(), directory_mode) != 0) fail("create", target);
    } else if (!walk->is_regular_file(error)) {
      continue;
    } else if (lstat(source.c_str(), &status) != 0) {
      fail("read", source);
    } else {
      auto [first, is_new] =
          copied.try_emplace({status.st_dev, status.st_ino}, target);
      if (is_new) copy_file(source, target);
      else if (link(first->second.c_str(), target.c_str()) != 0)
        fail("create", target);
    }
  }
  if (error) {
    errno = error.value();
    fail("read", from);
  }
}
