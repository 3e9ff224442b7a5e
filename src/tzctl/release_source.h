#pragma once

// SOURCE, the zoneinfo half of a release, made into a compiled tree: a
// release tarball is unpacked and compiled with the system's zic, a tzdata
// package is unpacked, and a directory is taken as it is. Scratch work goes
// into `work`, outside /var/db. Every failure writes its check's line and
// throws install_refused.

#include <string>

struct release_tree {
  std::string directory;  // the compiled zoneinfo tree
  std::string version;    // the release's own word, such as 2026f
  bool made_here = false; // zic's output in `work`, free to be moved
};

release_tree open_release(const std::string& source, const std::string& work);
