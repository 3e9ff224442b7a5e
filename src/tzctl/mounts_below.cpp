// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/mounts_below.h"

#include <err.h>  // warn, warnx
#include <errno.h>
#include <fcntl.h>     // open, O_*, AT_EMPTY_PATH
#include <sys/stat.h>  // statx, STATX_*, S_IF*
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "tzctl/printable_text.h"

namespace stdfs = std::filesystem;

namespace {

constexpr char mount_table_path[] = "/proc/self/mountinfo";

struct mount_entry {
  std::uint64_t id = 0;
  std::string point;
};

[[noreturn]] void fail(const std::string& path) {
  const int error = errno;
  warn("Cannot tell what is mounted at %s", printable(path).c_str());
  throw error;
}

// The table writes a space, a tab, a line end and a backslash in a mount
// point as \ooo, so that its fields stay apart.
std::string unescaped(const std::string& field) {
  std::string text;
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size()) {
      text += static_cast<char>(std::stoi(field.substr(i + 1, 3), nullptr, 8));
      i += 3;
    } else {
      text += field[i];
    }
  }
  return text;
}

std::vector<mount_entry> mount_table() {
  std::ifstream in(mount_table_path);
  if (!in) {
    const int error = errno;
    warn("Cannot read %s", mount_table_path);
    throw error;
  }
  std::vector<mount_entry> table;
  for (std::string line; std::getline(in, line);) {
    std::istringstream fields(line);
    std::string parent, device, root, point;
    mount_entry entry;
    if (fields >> entry.id >> parent >> device >> root >> point)
      table.push_back({entry.id, unescaped(point)});
  }
  return table;
}

// The type of what the mount point leads to when that is the mount
// itself; none when a later mount over it, or over a directory above it,
// hides it there, or nothing at all can be reached there.
std::optional<mode_t> visible_type(const mount_entry& entry) {
  const int fd = open(entry.point.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
  if (fd == -1) return std::nullopt;
  struct statx status {};
  const int result =
      statx(fd, "", AT_EMPTY_PATH, STATX_TYPE | STATX_MNT_ID, &status);
  const int error = errno;
  (void)close(fd);
  errno = result == 0 ? ENOSYS : error;  // a kernel without mount ids
  if (result != 0 || (status.stx_mask & STATX_MNT_ID) == 0) fail(entry.point);
  if (status.stx_mnt_id != entry.id) return std::nullopt;
  return status.stx_mode & S_IFMT;
}

}  // namespace

std::vector<std::string> mounts_below(const std::string& directory) {
  std::error_code error;
  // A directory with no real path cannot be opened either, and the caller
  // that opens it says why.
  const std::string top = stdfs::canonical(directory, error);
  if (error) return {};
  const std::string prefix = top == "/" ? top : top + "/";
  std::vector<std::string> below;
  for (const mount_entry& entry : mount_table()) {
    if (!entry.point.starts_with(prefix) || entry.point == prefix) continue;
    const std::optional<mode_t> type = visible_type(entry);
    if (!type) continue;
    const std::string path =
        stdfs::path(directory) / entry.point.substr(prefix.size());
    if (*type != S_IFDIR) {
      warnx("Cannot make a private view of %s: a file is mounted at %s",
            printable(directory).c_str(), printable(path).c_str());
      throw ENOTDIR;
    }
    below.push_back(path);
  }
  // A prefix sorts before what extends it: a parent before its children.
  std::sort(below.begin(), below.end());
  below.erase(std::unique(below.begin(), below.end()), below.end());
  return below;
}
