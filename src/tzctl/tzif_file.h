#pragma once

// Whether a compiled zone file is whole: its length must be exactly what
// its header's counts make it, with the 64-bit part and the closing rule
// that version 2 and later files add. A file cut short by a full disk or
// an interrupted copy fails; so does one with bytes after its end.

#include <string>

enum class tzif_shape {
  other,  // unreadable, or does not start as a TZif file does
  cut,    // starts as one, and its length is not what its counts make it
  whole,
};

// Reads only the headers and the closing rule, in one read for a file of
// the usual few kilobytes.
tzif_shape tzif_shape_of(const std::string& path);
