#pragma once

// The first word of a text file, as the boot reads +VERSION and
// icutzformat.txt: leading whitespace skipped, then every byte up to the
// next whitespace or the end of the file, however many. Never writes a line
// and never throws: a missing, unreadable or blank file gives "".

#include <string>

namespace fs {

// A read that fails part-way ends the word there: what was read is kept.
std::string read_first_word(const std::string& path);

}  // namespace fs
