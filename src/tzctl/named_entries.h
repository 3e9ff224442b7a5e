#pragma once

// Which entries of /var/db/timezone/tz/ a link target names: the one it
// lies in as written, and the one the system's resolution of it leads
// into, even when that stops part-way at a missing name, a loop or an
// unreadable link. Reads links, never writes.

#include <sys/types.h>  // dev_t, ino_t

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// A directory by device and inode: the same however a path reaches it.
using identity = std::pair<dev_t, ino_t>;

// Where the system's resolution of the absolute path `absolute` ends,
// every link on the way followed, the last one too, each relative target
// read from its link's directory; with whatever it could not resolve (a
// missing name, a loop, an unreadable link) appended as written. Each
// directory it steps into is added to `passed`, when given.
std::filesystem::path resolved(const std::filesystem::path& absolute,
                               std::vector<identity>* passed = nullptr);

// The whole target of the link at `path`, however long; none when nothing
// is there. Throws int errno quietly (EINVAL: not a link).
std::optional<std::string> whole_link_target(const std::string& path);

// The names in tz/ that `target` (a link text; a relative one is taken
// from /var/db/timezone, where the links live) names: none, one or two.
std::vector<std::string> entries_named(const std::string& target);

// The name in tz/ that `target` names as a whole, as written ("tz/NAME",
// "/var/db/timezone/tz/NAME/"); none when it names tz/ itself, something
// outside, or a path inside an entry.
std::optional<std::string> entry_named_whole(const std::string& target);

// Every directory the link at `path` leads into or through: each one its
// resolution steps into, up to where it stops (at a missing name, say),
// and the one the system's own resolution ends at with each above it, the
// way up taken by "..". A set a link uses holds one of them, however the
// link reaches it: through a bind mount of tz/ or of a directory inside a
// set, or by a path too long to spell out.
std::vector<identity> directories_reached(const char* path);
