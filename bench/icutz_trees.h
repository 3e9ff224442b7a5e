#pragma once

// icutz directories in which the schema search finds nothing: `entries`
// regular files, none named like ICU data. Throws std::runtime_error when
// an entry cannot be made.

#include <string>

// All entries directly inside `directory`.
void make_flat_tree(const std::string& directory, int entries);

// entries / 100 subdirectories of 99 files each: as many entries in all,
// but only one in a hundred directly inside `directory`.
void make_nested_tree(const std::string& directory, int entries);
