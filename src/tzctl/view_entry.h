#pragma once

// One entry of a directory of the private view, as a change line shows it,
// and whether two entries are the same. Files are read only as far as
// needed: a small one is shown whole, a large one by its size, and two are
// compared block by block, so memory never grows with a file's size.
// Throws int errno after one warning line naming `path`.

#include <sys/types.h>  // off_t

#include <string>

struct view_entry {
  enum kind_type { none, file, link, directory, other } kind = none;
  std::string shown = "(none)";  // "file \"CONTENT\"", "file of N bytes",
                                 // "link to TARGET", "directory", "other"
  off_t size = 0;                // of a file
};

// NAME in the open directory `dir`, or none when `dir` is -1; never
// follows a link. `path` names it in the warning line.
view_entry look_at(int dir, const std::string& name, const std::string& path);

// Whether entry `a`, NAME in `a_dir`, equals `b`, NAME in `b_dir`.
bool same_entry(const view_entry& a, int a_dir, const view_entry& b,
                int b_dir, const std::string& name, const std::string& path);
