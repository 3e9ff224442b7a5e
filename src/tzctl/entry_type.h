#pragma once

// What stands at a path, as status and clean weigh the entries the boot
// links and reads, and which one it is. Never writes, never throws: an
// entry that cannot be looked at has no type.

#include <sys/types.h>  // mode_t, dev_t, ino_t

#include <string>
#include <utility>

// An entry by device and inode: the same however a path reaches it.
using identity = std::pair<dev_t, ino_t>;

// Whether `path` is of `type` (S_IFDIR, S_IFREG, S_IFLNK...), the last
// link followed when `follow`.
bool has_type(const std::string& path, mode_t type, bool follow);
