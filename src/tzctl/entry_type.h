#pragma once

// What stands at a path, as status and clean weigh the entries the boot
// links and reads. Never writes, never throws: an entry that cannot be
// looked at has no type.

#include <sys/types.h>  // mode_t

#include <string>

// Whether `path` is of `type` (S_IFDIR, S_IFREG, S_IFLNK...), the last
// link followed when `follow`.
bool has_type(const std::string& path, mode_t type, bool follow);
