#pragma once

// The release a zic source (tzdata.zi) says it is, which both install and
// setup-image take as a tree's version. Reads only the start of the file,
// and never waits on a FIFO.

#include <string>

// The word of the "# version" line among the comments the file at `path`
// begins with; "" when there is none, when the file cannot be read, or
// when the word could not name a directory (it holds a space, a tab or a
// slash).
std::string zic_source_version(const std::string& path);
