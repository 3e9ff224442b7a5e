#pragma once

// Every entry under /var/db as one line of text, so that the tree before a
// boot and after it can be compared. The update directories are shown as
// one entry: nothing a boot does changes what is inside them. Throws
// std::filesystem::filesystem_error when the tree cannot be walked.

#include <map>
#include <string>
#include <vector>

// Path to "link to TARGET", "file \"CONTENT\"", "directory" or "other".
using tree_snapshot = std::map<std::string, std::string>;

tree_snapshot take_snapshot();

// "PATH: BEFORE -> AFTER" for each entry that differs, "(none)" standing
// for an absent one; in path order.
std::vector<std::string> changes(const tree_snapshot& before,
                                 const tree_snapshot& after);
