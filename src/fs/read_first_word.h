#pragma once

// The first word of a text file, as the boot reads +VERSION and
// icutzformat.txt: leading whitespace skipped, then every byte up to the
// next whitespace or the end of the file. Never writes a line, never
// throws and never waits: a missing, unreadable or blank file gives "", and
// so does anything that is neither a regular file nor a directory (a FIFO,
// a socket, a device, or a link to one).

#include <cstddef>
#include <string>

namespace fs {

// A read that fails part-way ends the word there: what was read is kept.
// With `first_block_only`, one read of at most a block is all it looks at,
// for a word that no decision uses but whose file must still be opened and
// read as before (later lines show the errno it leaves).
std::string read_first_word(const std::string& path,
                            bool first_block_only = false);

}  // namespace fs
