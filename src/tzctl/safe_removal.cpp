// Tested by tests/scenarios/tzctl_clean.scn and the kill and error
// injection of tests/crash/inject_clean.py.
#include "tzctl/safe_removal.h"

#include <dirent.h>  // fdopendir, readdir
#include <err.h>     // warn, warnx
#include <errno.h>
#include <fcntl.h>          // open, openat, O_*, AT_*
#include <stdio.h>          // renameat2, RENAME_NOREPLACE
#include <sys/stat.h>       // fstatat, statx
#include <sys/sysmacros.h>  // makedev
#include <unistd.h>         // close, unlinkat, renameat

#include <algorithm>
#include <climits>  // NAME_MAX, PATH_MAX
#include <string>

#include "tzctl/printable_text.h"
#include "tzctl/state_paths.h"

namespace {

constexpr int directory_flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct tree_walk {
  dev_t device;
  bool removing;
  const std::set<safe_removal::directory_id>* watched = nullptr;
  safe_removal::usage found = {};
  int error = 0;  // the first failure's errno while removing
};

bool starts_mount(const struct statx& status, dev_t device) {
  return makedev(status.stx_dev_major, status.stx_dev_minor) != device ||
         (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

// Another file system, or a bind mount of this one, starts here.
bool is_mount_root(int fd, dev_t device) {
  struct statx status;
  if (statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &status) != 0)
    return true;  // what cannot be looked at is not entered
  return starts_mount(status, device);
}

// A file can be mounted on too, and unlinking it fails: the directory that
// holds it must then stay whole, as for a mounted directory.
bool is_mounted_file(int dir, const char* name, dev_t device) {
  struct statx status;
  return statx(dir, name, AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &status) ==
             0 &&
         starts_mount(status, device);
}

// The names `directory` holds, sorted; false, errno set, when reading it
// failed part-way: the names missed might be anything, a mount point too.
bool names_in(DIR* directory, std::vector<std::string>& names) {
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(directory);
    if (entry == nullptr) break;
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  const int error = errno;
  std::sort(names.begin(), names.end());
  errno = error;
  return error == 0;
}

void note(tree_walk& walk, bool failed) {
  if (failed && walk.error == 0) walk.error = errno;
}

void note_unexplored(tree_walk& walk, const std::string& path) {
  if (!walk.found.unexplored.empty()) return;
  walk.found.unexplored = path;
  walk.found.error = errno;
}

void note_directory(tree_walk& walk, const struct stat& status) {
  const safe_removal::directory_id id{status.st_dev, status.st_ino};
  if (walk.watched && !walk.found.watched && walk.watched->contains(id))
    walk.found.watched = id;
}

// Depth first below `fd`, which it closes; `path` only names what it finds.
// The names are read whole before any goes: removing while reading may
// skip entries.
void walk_tree(int fd, const std::string& path, tree_walk& walk) {
  // Beyond what a path can spell out lies what the walk leaves unexplored:
  // so its depth, and the memory its paths take, stay bounded.
  if (path.size() > PATH_MAX) {
    errno = ENAMETOOLONG;
    note_unexplored(walk, path);
    note(walk, true);
    close(fd);
    return;
  }
  DIR* directory = fdopendir(fd);
  std::vector<std::string> names;
  if (directory == nullptr || !names_in(directory, names)) {
    note_unexplored(walk, path);
    note(walk, true);
  }
  if (directory == nullptr) {
    close(fd);
    return;
  }
  for (const std::string& name : names) {
    struct stat status;
    const char* entry = name.c_str();
    if (fstatat(fd, entry, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      // What cannot be looked at may be a directory, a mount point too.
      if (errno != ENOENT) note_unexplored(walk, path + "/" + name);
      note(walk, walk.removing);
      continue;
    }
    if (S_ISDIR(status.st_mode)) {
      note_directory(walk, status);
      const int sub = openat(fd, entry, directory_flags);
      if (sub >= 0 && is_mount_root(sub, walk.device)) {
        if (walk.found.mount_point.empty())
          walk.found.mount_point = path + "/" + name;
        close(sub);
        continue;
      }
      if (sub >= 0)
        walk_tree(sub, path + "/" + name, walk);
      else
        note_unexplored(walk, path + "/" + name);
      if (walk.removing) note(walk, unlinkat(fd, entry, AT_REMOVEDIR) != 0);
      continue;
    }
    if (is_mounted_file(fd, entry, walk.device)) {
      if (walk.found.mount_point.empty())
        walk.found.mount_point = path + "/" + name;
      continue;
    }
    if (S_ISREG(status.st_mode)) walk.found.bytes += status.st_size;
    if (walk.removing) note(walk, unlinkat(fd, entry, 0) != 0);
  }
  closedir(directory);
}

// Below the entry `top` opened, which it closes; not into an entry that is
// itself a mount.
void walk_entry(int top, const std::string& path, tree_walk& walk) {
  struct stat status;
  if (top < 0) {
    note_unexplored(walk, path);
  } else if (is_mount_root(top, walk.device)) {
    walk.found.mount_point = path;
    close(top);
  } else {
    if (fstat(top, &status) == 0) note_directory(walk, status);
    walk_tree(top, path, walk);
  }
}

// Each of /var/db, timezone and tz is opened without following a link,
// as install makes them: the state is where the boot tool looks for it.
int open_updates_directory() {
  const char* names[] = {"timezone", updates_name};
  int fd = open(data_directory, directory_flags);
  int error = errno;
  std::string path = data_directory;
  for (const char* name : names) {
    if (fd < 0) break;
    const int parent = fd;
    path = path + "/" + name;
    fd = openat(parent, name, directory_flags);
    error = errno;
    close(parent);
  }
  if (fd >= 0) return fd;
  if (error != ENOENT)
    warn("%s is not a directory; removing nothing", path.c_str());
  throw error;
}

}  // namespace

// A name too long to carry the prefix is replaced by the directory's inode
// number, unique on tz/'s file system while the directory lives; without
// it such a directory could never be set aside, and the marker never go.
std::string safe_removal::hidden_name(const std::string& name) const {
  struct stat status;
  if (std::string(cleaning_prefix).size() + name.size() <= NAME_MAX ||
      fstatat(fd, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
    return cleaning_prefix + name;
  return cleaning_prefix + ("inode-" + std::to_string(status.st_ino));
}

bool is_leftover(const std::string& name) {
  return name.starts_with(cleaning_prefix) ||
         name.starts_with(installing_prefix);
}

safe_removal::safe_removal() : fd(open_updates_directory()) {
  struct stat status;
  if (fstat(fd, &status) != 0) {
    const int error = errno;
    warn("Cannot look at %s", updates_directory);
    close(fd);
    throw error;
  }
  device = status.st_dev;
}

safe_removal::~safe_removal() { close(fd); }

std::vector<std::string> safe_removal::directories() const {
  const int copy = dup(fd);  // so that errno says why, should dup fail
  DIR* directory = copy < 0 ? nullptr : fdopendir(copy);
  if (directory != nullptr)
    rewinddir(directory);  // the copy shares its position with fd
  std::vector<std::string> names;
  if (directory == nullptr || !names_in(directory, names)) {
    const int error = errno;
    warn("Cannot list %s; removing nothing", updates_directory);
    if (directory != nullptr) closedir(directory);
    throw error;
  }
  std::vector<std::string> found;
  for (const std::string& name : names) {
    struct stat status;
    // One that cannot be looked at may be a directory: weighed, it is
    // kept with a line rather than passed over in silence.
    if (fstatat(fd, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
            ? S_ISDIR(status.st_mode)
            : errno != ENOENT)
      found.push_back(name);
  }
  closedir(directory);
  return found;
}

safe_removal::usage safe_removal::measure(
    const std::string& name, const std::set<directory_id>& watched) const {
  tree_walk walk{device, false, &watched};
  walk_entry(openat(fd, name.c_str(), directory_flags),
             std::string(updates_directory) + "/" + name, walk);
  return walk.found;
}

bool safe_removal::remove(const std::string& name) const {
  const std::string path = std::string(updates_directory) + "/" + name;
  if (const usage inside = measure(name); !inside.mount_point.empty()) {
    warnx("Not removing %s: a file system is mounted at %s",
          printable(path).c_str(), printable(inside.mount_point).c_str());
    return false;
  } else if (!inside.unexplored.empty()) {
    errno = inside.error;
    warn("Not removing %s: cannot look inside %s", printable(path).c_str(),
         printable(inside.unexplored).c_str());
    return false;
  }
  const std::string doomed = is_leftover(name) ? name : hidden_name(name);
  const std::string doomed_path = std::string(updates_directory) + "/" + doomed;
  // Never over an entry of that name: a link may name even an empty one.
  if (doomed != name &&
      renameat2(fd, name.c_str(), fd, doomed.c_str(), RENAME_NOREPLACE) != 0) {
    warn("Could not set %s aside", printable(path).c_str());
    return false;
  }
  tree_walk walk{device, true};
  const int top = openat(fd, doomed.c_str(), directory_flags);
  walk_entry(top, doomed_path, walk);
  // A mount that appeared since the check above is left, and so is the
  // directory that holds it: the removal is then incomplete.
  if (top >= 0 && !walk.found.mount_point.empty()) errno = EBUSY;
  if (top < 0 || !walk.found.mount_point.empty()) note(walk, true);
  note(walk, unlinkat(fd, doomed.c_str(), AT_REMOVEDIR) != 0);
  if (walk.error == 0) return true;
  errno = walk.error;
  warn("Could not remove %s", printable(doomed_path).c_str());
  return false;
}
