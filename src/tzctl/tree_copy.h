#pragma once

// A compiled zoneinfo tree copied into a fresh directory: directories,
// links as they are, and regular files world-readable under install's
// umask, with files that are one file (zic's hard links) kept as one.
// Writes a line and throws the errno as an int on the first failure.

#include <string>

// `to` must not exist yet. Entries named `skip` at the top are left out.
void copy_tree(const std::string& from, const std::string& to,
               const std::string& skip);

// One regular file, world-readable; `to` must not exist yet.
void copy_file(const std::string& from, const std::string& to);
