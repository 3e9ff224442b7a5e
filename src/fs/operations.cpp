// Tested by tests/scenarios/ (hostile.scn, migration.scn) and the crash
// and error injection in tests/crash/.
#include "fs/operations.h"

#include <err.h>  // warn
#include <errno.h>
#include <fcntl.h>  // open, O_RDONLY, O_CLOEXEC
#include <unistd.h>

#include "fs/platform.h"

namespace fs {

namespace {
// The size of a path on the systems this tool boots, whatever this one says.
constexpr size_t max_target_length = 1024;
constexpr int directory_protection_class = 4;
}  // namespace

void remove(const std::string& path) {
  if (unlink(path.c_str()) == 0 || errno == ENOENT) return;
  const int error = errno;
  warn("remove: could not remove %s", path.c_str());
  throw error;  // the failed call's errno, whatever warn left
}

bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

std::string read_symlink(const std::string& path) {
  char buffer[max_target_length + 1];
  const ssize_t length = readlink(path.c_str(), buffer, max_target_length);
  if (length < 0) {
    const int error = errno;
    if (error == ENOENT) return {};
    warn("read_symlink: %s", path.c_str());
    throw error;  // the failed call's errno, whatever warn left
  }
  buffer[length] = '\0';
  // A target is text: it ends at its first NUL, should one ever be stored.
  return std::string(buffer);
}

void create_symlink(const std::string& target, const std::string& link_path) {
  if (symlink(target.c_str(), link_path.c_str()) == 0) return;
  const int error = errno;
  warn("create_symlink: from %s to %s", link_path.c_str(), target.c_str());
  throw error;  // the failed call's errno, whatever warn left
}

void set_protection_class(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd == -1) return;
  platform::set_protection_class(fd, directory_protection_class);
  (void)close(fd);
}

}  // namespace fs
