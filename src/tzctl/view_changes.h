#pragma once

// What changed in a directory of the private view, read from its layer of
// changes: the cost grows with the entries the boot touched (and, for a
// directory it removed or replaced, the entries that were in it), never
// with the rest of the directory or the size of a file. Throws int errno after
// one warning line.

#include <string>
#include <vector>

struct covered_directory;

// "PATH: BEFORE -> AFTER" for each entry that differs in any of the
// directories, as view_entry shows them ("(none)" for an absent one), every
// byte of a name printable; in path order.
std::vector<std::string> view_changes(
    const std::vector<covered_directory>& directories);
