// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/view_changes.h"

#include <dirent.h>  // fdopendir, readdir
#include <err.h>     // warn
#include <errno.h>
#include <fcntl.h>      // openat, O_*
#include <sys/xattr.h>  // fgetxattr
#include <unistd.h>

#include <algorithm>
#include <set>
#include <utility>

#include "tzctl/printable_text.h"
#include "tzctl/private_view.h"
#include "tzctl/view_entry.h"

namespace {

// One directory in the three layers, -1 where a layer has none. Under a
// directory removed or replaced as a whole, every entry it held is looked
// at; elsewhere only those the changed layer names.
struct layers {
  int original, changed, seen;
  bool whole;
};

using change_list = std::vector<std::pair<std::string, std::string>>;

void add_names(int dir, std::set<std::string>& names) {
  if (dir == -1) return;
  DIR* stream = fdopendir(dup(dir));
  if (stream == nullptr) return;
  rewinddir(stream);
  while (const dirent* entry = readdir(stream)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.insert(name);
  }
  closedir(stream);
}

// -1 where the layer holds no directory of that name.
int open_directory(int dir, const std::string& name, const std::string& path) {
  if (dir == -1) return -1;
  const int fd = openat(dir, name.c_str(),
                        O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (fd != -1 || errno == ENOENT || errno == ENOTDIR || errno == ELOOP)
    return fd;
  const int error = errno;
  warn("Cannot compare %s before and after", printable(path).c_str());
  throw error;
}

// The overlay marks a directory made where one was removed as opaque: none
// of the original's entries show through it.
bool is_opaque(int dir) {
  char value = 0;
  for (const char* mark : {"user.overlay.opaque", "trusted.overlay.opaque"})
    if (fgetxattr(dir, mark, &value, 1) == 1 && value == 'y') return true;
  return false;
}

void walk(const layers& dirs, const std::string& prefix, change_list& out);

void walk_into(const layers& dirs, const std::string& name,
               const std::string& path, change_list& out) {
  layers child{open_directory(dirs.original, name, path),
               open_directory(dirs.changed, name, path),
               open_directory(dirs.seen, name, path), dirs.whole};
  // A removed entry or a directory replaced by a file leaves no directory
  // in the changed layer: all that was below it has gone.
  child.whole = dirs.whole || child.changed == -1 || is_opaque(child.changed);
  walk(child, path, out);
  for (const int fd : {child.original, child.changed, child.seen})
    if (fd != -1) (void)close(fd);
}

void walk(const layers& dirs, const std::string& prefix, change_list& out) {
  std::set<std::string> names;
  add_names(dirs.changed, names);
  if (dirs.whole) add_names(dirs.original, names);
  for (const std::string& name : names) {
    const std::string path = prefix + "/" + name;
    const view_entry before = look_at(dirs.original, name, path);
    const view_entry after = look_at(dirs.seen, name, path);
    if (!same_entry(before, dirs.original, after, dirs.seen, name, path))
      out.emplace_back(path, printable(path) + ": " + before.shown + " -> " +
                                 after.shown);
    if (before.kind == view_entry::directory ||
        after.kind == view_entry::directory)
      walk_into(dirs, name, path, out);
  }
}

}  // namespace

std::vector<std::string> view_changes(
    const std::vector<covered_directory>& directories) {
  change_list changes;
  for (const covered_directory& directory : directories)
    walk({directory.original, directory.changed, directory.seen, false},
         directory.path, changes);
  std::sort(changes.begin(), changes.end());
  std::vector<std::string> lines;
  for (auto& change : changes) lines.push_back(std::move(change.second));
  return lines;
}
