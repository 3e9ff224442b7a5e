// Parses arbitrary text as one or two versions (cut at the first space) and
// checks each parse against stoi on the groups of the version string
// matcher, which fuzz_patterns holds to the regular expression; then checks
// how greater-than orders the results.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>

#include "dataset/dataset_version.h"
#include "dataset/version_string_match.h"
#include "warning_capture.h"

namespace {

std::int32_t number_of(std::string_view digits) {
  return digits.empty() ? -1 : std::stoi(std::string(digits));
}

// The record the text stands for: unset when it does not match, nothing
// when a number is beyond 32 bits.
std::optional<dataset_version> expected_parse(
    const std::optional<version_string_groups>& g) {
  dataset_version v;
  if (!g) return v;
  try {
    v.number = number_of(g->number);
    v.second_number = number_of(g->second_number);
    v.third_number = number_of(g->third_number);
  } catch (const std::out_of_range&) {
    return std::nullopt;
  }
  v.letters = g->letters;
  return v;
}

// Parses text into v, which may hold an earlier version, and checks the
// fields, the exception and the lines written. False on std::out_of_range.
bool parse_checked(dataset_version& v, const std::string& text) {
  const auto groups = match_version_string(text);
  const std::optional<dataset_version> expected = expected_parse(groups);
  start_capture();
  try {
    v.parse(text);
  } catch (const std::out_of_range&) {
    check(!expected && captured_warnings().empty(),
          "out_of_range for numbers that fit, or with a line");
    return false;
  }
  check(expected && v == *expected, "the fields are not the text's");
  // %s stops at a NUL byte, and so does the text in the line.
  const std::string stem =
      "Cannot parse version string " + std::string(text.c_str());
  check(captured_warnings() ==
            (groups ? ""
                    : warning_line(stem + ", results.size() = 0") +
                          warning_line(stem)),
        "the lines written are not the two");
  return true;
}

// Greater-than is the lexicographic order over the fields as declared: the
// order that tuples of them have.
void check_order(std::initializer_list<dataset_version> versions) {
  const auto fields = [](const dataset_version& v) {
    return std::tie(v.number, v.letters, v.second_number, v.third_number);
  };
  for (const dataset_version& a : versions)
    for (const dataset_version& b : versions)
      check((a > b) == (fields(a) > fields(b)), "greater-than misorders");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  capture_warnings();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t space = input.find(' ');
  dataset_version a, b;
  if (!parse_checked(a, input.substr(0, space))) return 0;
  b = a;  // a parse must overwrite every field
  if (space != std::string::npos && !parse_checked(b, input.substr(space + 1)))
    return 0;
  check_order({dataset_version(), a, b});
  return 0;
}
