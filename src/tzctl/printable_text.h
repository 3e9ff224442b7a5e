#pragma once

// Bytes from the file system shown on one line: a link target, a record
// or a file's content may hold any byte, and no byte may break the line it
// is shown on or move a terminal's cursor.

#include <cstddef>
#include <string>

// `text` with a line end as \n, and as \xHH every other control byte (C0,
// DEL, and C1 and the line and paragraph separators in UTF-8), every byte
// that is not part of well-formed UTF-8, and each byte of `also`.
std::string printable(const std::string& text, const std::string& also = "");

// The length of the well-formed UTF-8 sequence that starts at text[i], or
// 0 for a stray byte. Overlong forms, surrogates and code points past
// U+10FFFF are not well formed.
std::size_t utf8_sequence_length(const std::string& text, std::size_t i);
