// Parses arbitrary text as one or two versions (cut at the first space) and
// checks each parse against the text's shape, worked out here without a
// regular expression, then checks how greater-than orders the results.
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "dataset/dataset_version.h"
#include "warning_capture.h"

namespace {

enum class outcome { parsed, unreadable, too_large };

struct expectation {
  outcome kind;
  dataset_version version;
};

// Reads the run of digits at pos; false when there is none. A run beyond
// 32 bits sets too_large: the conversion throws for it.
bool read_digits(const std::string& s, size_t& pos, std::int32_t& number,
                 bool& too_large) {
  const size_t start = pos;
  std::int64_t value = 0;
  for (; pos < s.size() && s[pos] >= '0' && s[pos] <= '9'; ++pos) {
    value = value * 10 + (s[pos] - '0');
    if (value > INT32_MAX) {
      too_large = true;
      value = INT64_C(1) << 31;  // stays too large without overflowing
    }
  }
  number = static_cast<std::int32_t>(value);
  return pos > start;
}

// Digits, lower-case letters, then up to two dot parts of digits; the
// whole text or nothing.
expectation expected_parse(const std::string& s) {
  dataset_version v;
  size_t pos = 0;
  bool too_large = false;
  bool ok = read_digits(s, pos, v.number, too_large);
  const size_t letters_start = pos;
  while (pos < s.size() && s[pos] >= 'a' && s[pos] <= 'z') ++pos;
  v.letters = s.substr(letters_start, pos - letters_start);
  ok = ok && !v.letters.empty();
  for (std::int32_t* part : {&v.second_number, &v.third_number}) {
    if (ok && pos < s.size() && s[pos] == '.') {
      ++pos;
      ok = read_digits(s, pos, *part, too_large);
    }
  }
  if (!ok || pos != s.size()) return {outcome::unreadable, {}};
  if (too_large) return {outcome::too_large, {}};
  return {outcome::parsed, v};
}

// Parses text into v, which may hold an earlier version, and checks the
// fields, the exception and the lines written. False on std::out_of_range.
bool parse_checked(dataset_version& v, const std::string& text) {
  const expectation e = expected_parse(text);
  start_capture();
  try {
    v.parse(text);
  } catch (const std::out_of_range&) {
    check(e.kind == outcome::too_large, "out_of_range for numbers that fit");
    check(captured_warnings().empty(), "out_of_range came with a line");
    return false;
  }
  check(e.kind != outcome::too_large, "a number beyond 32 bits was kept");
  check(v == e.version, "the fields are not the text's");
  // %s stops at a NUL byte, and so does the text in the line.
  const std::string stem =
      "Cannot parse version string " + std::string(text.c_str());
  const std::string lines =
      e.kind == outcome::parsed
          ? ""
          : warning_line(stem + ", results.size() = 0") + warning_line(stem);
  check(captured_warnings() == lines, "the lines written are not the two");
  return true;
}

// Greater-than is the lexicographic order over the fields as declared: the
// order that tuples of them have.
void check_order(const std::vector<dataset_version>& versions) {
  const auto fields = [](const dataset_version& v) {
    return std::tie(v.number, v.letters, v.second_number, v.third_number);
  };
  for (const dataset_version& a : versions) {
    for (const dataset_version& b : versions) {
      check((a > b) == (fields(a) > fields(b)), "greater-than misorders");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  capture_warnings();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t space = input.find(' ');
  const std::string first = input.substr(0, space);
  const std::string second =
      space == std::string::npos ? "" : input.substr(space + 1);
  dataset_version a;
  if (!parse_checked(a, first)) return 0;
  dataset_version b = a;  // a parse must overwrite every field
  if (!parse_checked(b, second)) return 0;
  check_order({dataset_version(), a, b});
  return 0;
}
