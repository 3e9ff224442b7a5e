#pragma once

// Whether a compiled zone file is whole: its length must be exactly what
// its header's counts make it, with the 64-bit part and the closing rule
// that version 2 and later files add. A file cut short by a full disk or
// an interrupted copy fails; so does one with bytes after its end.

#include <string>

// Reads only the headers and the closing rule; false when the file cannot
// be read.
bool is_whole_tzif_file(const std::string& path);

// Whether the file starts as a TZif file does; false when unreadable.
bool starts_as_tzif_file(const std::string& path);
