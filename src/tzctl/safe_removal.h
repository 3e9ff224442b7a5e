#pragma once

// Removal of entries of /var/db/timezone/tz/ that never follows a link,
// never leaves tz/'s file system and never touches a directory with a
// mount point inside. An entry is renamed to a hidden name before any of
// it goes, so a kill at any system call leaves either the whole entry or a
// leftover that the next clean finishes, never part of a data set under a
// version's name.

#include <sys/types.h>  // dev_t

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Whether `name` is what a clean or an install cut short left in tz/.
bool is_leftover(const std::string& name);

class safe_removal {
 public:
  // Opens tz/ without following a link, /var/db/timezone's included.
  // Throws int: ENOENT quietly when there is no tz/; another errno after a
  // line, ENOTDIR (or ELOOP) when tz/ is not itself a directory.
  safe_removal();
  ~safe_removal();
  safe_removal(const safe_removal&) = delete;
  safe_removal& operator=(const safe_removal&) = delete;

  // The directories of tz/, hidden ones included, sorted, and any entry
  // that cannot be looked at; links are left out.
  std::vector<std::string> directories() const;

  using directory_id = std::pair<dev_t, ino_t>;  // device and inode

  struct usage {
    std::uintmax_t bytes = 0;  // of the regular files inside
    std::string mount_point;   // the first one found inside; "" for none
    // The first directory inside that could not be opened or listed (too
    // deep for the open-file limit, say): what it holds is unknown, a
    // mount point included. "" for none; `error` is its errno.
    std::string unexplored;
    int error = 0;
    // The first of the directories asked about found there, `name` itself
    // included; none when none is.
    std::optional<directory_id> watched;
  };
  // What directory `name` holds, seen without following a link or
  // entering another file system; and whether it is or holds one of the
  // `watched` directories.
  usage measure(const std::string& name,
                const std::set<directory_id>& watched = {}) const;

  // Sets `name` aside under cleaning_prefix (a leftover, already hidden,
  // stays where it is), then deletes it. False after a line.
  bool remove(const std::string& name) const;

 private:
  std::string hidden_name(const std::string& name) const;

  int fd;
  dev_t device;
};
