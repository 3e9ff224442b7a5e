#pragma once

// The file operations mira-tzctl makes outside /var/db/timezone, on an
// image tree for setup-image and for the metrics file of status, and the
// replacement of a new set's +VERSION. Each
// failure writes one warning line naming the path and throws its errno as
// an int. Replacing goes through a new entry beside the old and a rename,
// so a reader sees the old or the new, never part of either.

#include <optional>
#include <string>

namespace plain_files {

enum class kind { none, directory, link, other };

// What is at `path`, links not followed.
kind kind_of(const std::string& path);

// The whole content of a regular file; none when nothing is there. Any
// other file is refused without waiting on it, as a FIFO would make us.
std::optional<std::string> read_file(const std::string& path);

// Up to `bytes` from the start of a regular file, links followed; "" for
// anything else, or a file that cannot be read. Never waits on a FIFO.
std::string read_start(const std::string& path, std::size_t bytes);

// The target of a link; none when nothing is there or it is no link.
std::optional<std::string> read_link(const std::string& path);

// Replaces or creates `path` with `content`, synced before the rename.
void write_file(const std::string& path, const std::string& content,
                unsigned mode = 0644);

// Replaces or creates the link `path` with one to `target`.
void write_link(const std::string& target, const std::string& path);

// mkdir(2) with mode 0755; a directory already there is kept.
void make_directory(const std::string& path);

// unlink(2); an absent entry counts as removed.
void remove_file(const std::string& path);

// rmdir(2), only when the directory is there and empty.
void remove_empty_directory(const std::string& path);

// rename(2).
void move(const std::string& from, const std::string& to);

}  // namespace plain_files
