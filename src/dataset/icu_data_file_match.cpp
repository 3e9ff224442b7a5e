// Tested by tests/dataset/mira_icu_test.cpp; fuzz/fuzz_patterns.cpp holds
// it to the regular expression it stands for.
#include "dataset/icu_data_file_match.h"

#include <algorithm>

namespace {
constexpr std::string_view prefix = "icutz";
constexpr std::string_view suffix = ".dat";
constexpr std::string_view schema_letters = "lbe";

bool is_digit(char c) { return c >= '0' && c <= '9'; }
}  // namespace

std::string_view match_icu_data_file_name(std::string_view name) {
  // At least one digit and the letter between the two fixed ends.
  if (name.size() < prefix.size() + 2 + suffix.size() ||
      !name.starts_with(prefix) || !name.ends_with(suffix))
    return {};
  const std::string_view schema =
      name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
  const std::string_view digits = schema.substr(0, schema.size() - 1);
  if (!std::all_of(digits.begin(), digits.end(), is_digit) ||
      schema_letters.find(schema.back()) == std::string_view::npos)
    return {};
  return schema;
}
