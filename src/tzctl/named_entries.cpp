// Tested by tests/scenarios/tzctl_clean.scn and tzctl_preview.scn.
#include "tzctl/named_entries.h"

#include <errno.h>
#include <fcntl.h>     // open, openat, O_*
#include <sys/stat.h>  // lstat, fstat, S_ISLNK
#include <unistd.h>    // close, readlink

#include <deque>
#include <filesystem>

#include "tzctl/state_paths.h"

namespace stdfs = std::filesystem;

namespace {

// As many links as the system follows in one path before it gives up.
constexpr int max_links = 40;

std::optional<std::string> quiet_target(const stdfs::path& path) {
  try {
    return whole_link_target(path);
  } catch (int) {  // a link that cannot be read leads nowhere
    return std::nullopt;
  }
}

}  // namespace

stdfs::path resolved(const stdfs::path& absolute,
                     std::vector<identity>* passed) {
  std::deque<stdfs::path> rest(absolute.begin(), absolute.end());
  stdfs::path done = "/";
  for (int links = 0; !rest.empty();) {
    const stdfs::path part = rest.front();
    const stdfs::path next = done / part;
    struct stat status;
    if (part.empty() || part == "." || part == "/" || part == "..") {
      done = part == "/" ? "/" : part == ".." ? done.parent_path() : done;
    } else if (lstat(next.c_str(), &status) != 0) {
      break;
    } else if (S_ISLNK(status.st_mode)) {
      const auto target = quiet_target(next);
      if (!target || ++links > max_links) break;
      rest.pop_front();
      const stdfs::path followed(*target);
      rest.insert(rest.begin(), followed.begin(), followed.end());
      continue;
    } else {
      done = next;
      if (passed && S_ISDIR(status.st_mode))
        passed->emplace_back(status.st_dev, status.st_ino);
    }
    rest.pop_front();
  }
  for (const stdfs::path& part : rest) done /= part;
  return done.lexically_normal();
}

std::optional<std::string> whole_link_target(const std::string& path) {
  std::string target(256, '\0');
  for (;;) {
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length < 0 && errno == ENOENT) return std::nullopt;
    if (length < 0) throw errno;
    if (static_cast<size_t>(length) < target.size()) {
      target.resize(length);
      return target;
    }
    target.resize(target.size() * 2);  // it may have been cut: read again
  }
}

std::vector<std::string> entries_named(const std::string& target) {
  if (target.empty()) return {};
  const stdfs::path absolute = stdfs::path(timezone_directory) / target;
  std::vector<std::string> names;
  for (const stdfs::path& path :
       {absolute.lexically_normal(), resolved(absolute)}) {
    const stdfs::path inside = path.lexically_relative(updates_directory);
    if (inside.empty()) continue;
    const std::string first = inside.begin()->string();
    if (first != "." && first != ".." && (names.empty() || names[0] != first))
      names.push_back(first);
  }
  return names;
}

std::optional<std::string> entry_named_whole(const std::string& target) {
  const stdfs::path inside =
      (stdfs::path(timezone_directory) / target)
          .lexically_normal()
          .lexically_relative(updates_directory);
  std::vector<std::string> parts;
  for (const stdfs::path& part : inside)
    if (!part.empty()) parts.push_back(part.string());
  if (parts.size() != 1 || parts[0] == "." || parts[0] == "..")
    return std::nullopt;
  return parts[0];
}

std::vector<identity> directories_reached(const char* path) {
  std::vector<identity> found;
  (void)resolved(path, &found);
  constexpr int flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
  int fd = open(path, flags);
  for (identity last{}; fd >= 0;) {
    struct stat status;
    if (fstat(fd, &status) != 0) break;
    const identity here{status.st_dev, status.st_ino};
    if (here == last) break;  // the root's ".." is the root
    found.push_back(last = here);
    const int parent = openat(fd, "..", flags);
    close(fd);
    fd = parent;
  }
  if (fd >= 0) close(fd);
  return found;
}
