// Tested by tests/dataset/dataset_version_test.cpp; fuzz/fuzz_patterns.cpp
// holds it to the regular expression it stands for.
#include "dataset/version_string_match.h"

#include <cstddef>

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return c >= 'a' && c <= 'z'; }

// Digits, letters and dots are disjoint, so each run is taken whole: a
// shorter one would leave a byte that nothing after it accepts.
std::string_view take_run(std::string_view& rest, bool (*is_in)(char)) {
  std::size_t length = 0;
  while (length < rest.size() && is_in(rest[length])) ++length;
  const std::string_view run = rest.substr(0, length);
  rest.remove_prefix(length);
  return run;
}

// A dot with digits after it; a dot without them is left in `rest`, where
// it fails the match.
std::string_view take_dot_part(std::string_view& rest) {
  if (rest.size() < 2 || rest[0] != '.' || !is_digit(rest[1])) return {};
  rest.remove_prefix(1);
  return take_run(rest, is_digit);
}

}  // namespace

std::optional<version_string_groups> match_version_string(
    std::string_view text) {
  version_string_groups groups;
  groups.number = take_run(text, is_digit);
  groups.letters = take_run(text, is_letter);
  groups.second_number = take_dot_part(text);
  groups.third_number = take_dot_part(text);
  if (groups.number.empty() || groups.letters.empty() || !text.empty())
    return std::nullopt;
  return groups;
}
