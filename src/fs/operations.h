#pragma once

// The file-system calls every stage makes on links, files and directories.
// A failed call writes one warning line and throws its errno as an int;
// a missing entry is normal for remove and read_symlink.

#include <string>

namespace fs {

// unlink(2); an absent entry counts as removed.
void remove(const std::string& path);

// access(F_OK): follows links, so a dangling link does not exist.
bool exists(const std::string& path);

// The target text of a link, at most 1024 bytes; "" when nothing is there.
std::string read_symlink(const std::string& path);

// symlink(2): stores `target` as given; never replaces an existing entry.
void create_symlink(const std::string& target, const std::string& link_path);

// Gives a directory protection class 4; silent on every failure.
void set_protection_class(const std::string& path);

}  // namespace fs
