// Tested by tests/dataset/dataset_version_test.cpp.
#include "dataset/dataset_version.h"

#include <err.h>  // warn

#include <string_view>

#include "dataset/version_string_match.h"

namespace {

// What a failed full match leaves in a match result: no entries at all.
constexpr int failed_match_results = 0;

// The standard conversion, so that digits beyond 32 bits still throw
// std::out_of_range, and leading zeros are read as any base-10 number.
std::int32_t number_of(std::string_view digits) {
  return std::stoi(std::string(digits));
}

// A dot part the string does not have is -1.
std::int32_t dot_part(std::string_view digits) {
  return digits.empty() ? -1 : number_of(digits);
}

}  // namespace

dataset_version::dataset_version(const std::string& text) { parse(text); }

void dataset_version::parse(const std::string& text) {
  const auto groups = match_version_string(text);
  if (!groups) {
    warn("Cannot parse version string %s, results.size() = %d", text.c_str(),
         failed_match_results);
    // Not a failure: the version stays unset, and so orders below any other.
    warn("Cannot parse version string %s", text.c_str());
    *this = dataset_version();
    return;
  }
  // Field by field: a number too large throws with the earlier fields set.
  number = number_of(groups->number);
  letters = groups->letters;
  second_number = dot_part(groups->second_number);
  third_number = dot_part(groups->third_number);
}

bool operator>(const dataset_version& a, const dataset_version& b) {
  if (a.number != b.number) return a.number > b.number;
  if (a.letters != b.letters) return a.letters > b.letters;
  if (a.second_number != b.second_number)
    return a.second_number > b.second_number;
  return a.third_number > b.third_number;
}
