#pragma once

// Which texts are version strings, and their parts: a run of digits, a run
// of lower-case letters a to z, then at most two dot parts of digits, the
// whole text and nothing else. Pure: it allocates nothing and leaves errno
// alone.

#include <optional>
#include <string_view>

// Views into the matched text. A dot part the text does not have is empty;
// every part it has holds at least one digit.
struct version_string_groups {
  std::string_view number;
  std::string_view letters;
  std::string_view second_number;
  std::string_view third_number;
};

// The parts of `text`, or nothing when the whole of it is not a version
// string. A lone dot part is the second number, never the third.
std::optional<version_string_groups> match_version_string(
    std::string_view text);
