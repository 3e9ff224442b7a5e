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

// Where the system's resolution of the absolute path `absolute` ends,
// every link on the way followed, the last one too, each relative target
// read from its link's directory; with whatever it could not resolve (a
// missing name, a loop, an unreadable link) appended as written.
std::filesystem::path resolved(const std::filesystem::path& absolute);

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

// Device and inode of the directory the link at `path` leads to, as the
// system follows it, and of each directory above it up to the root; empty
// when it leads to no directory. The way up is taken by "..", not by name,
// so a way in through a bind mount of tz/, or one too long to spell out,
// still ends at the entry it passes through.
std::vector<std::pair<dev_t, ino_t>> directories_above(const char* path);
