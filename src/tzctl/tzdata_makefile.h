#pragma once

// Which source files a time-zone release compiles, as its Makefile lists
// them in TDATA: plain `NAME= words` assignments, continued by a trailing
// backslash, with $(NAME) references expanded. Never throws.

#include <string>
#include <vector>

// The words of TDATA in `makefile_text`; empty when it has none.
std::vector<std::string> compiled_source_files(const std::string& makefile_text);
