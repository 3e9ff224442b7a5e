#include "dataset/dataset_version.h"

#include <errno.h>

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "harness/capture.h"

namespace {

std::string fields(const dataset_version& v) {
  return std::to_string(v.number) + " " + v.letters + " " +
         std::to_string(v.second_number) + " " + std::to_string(v.third_number);
}

// errno is set to EPERM before each parse: both lines must carry it.
std::string unparsable(const std::string& text) {
  const std::string stem = "mira-tzlink: Cannot parse version string " + text;
  return stem + ", results.size() = 0: Operation not permitted\n" + stem +
         ": Operation not permitted\n";
}

const char unset[] = "-1  -1 -1";
// A word of any length is matched: 100,000 leading zeros still read as 1,
// and 100,000 nines are beyond 32 bits.
const std::string long_number = std::string(100000, '0') + "1c.01";
const std::string too_large = std::string(100000, '9') + "c";

// clang-format off
const struct { const char* text; const char* fields; bool warns; } parse_cases[] = {
  {"19c", "19 c -1 -1", false},        {"19c.1.0", "19 c 1 0", false},
  {"19c.1", "19 c 1 -1", false},       {"007ab.02.3", "7 ab 2 3", false},
  {"2147483647z", "2147483647 z -1 -1", false},
  {"19c.1.0.1", unset, true}, {"19C", unset, true}, {".1.0", unset, true},
  {"", unset, true},          {"19c.", unset, true}, {"19c.1.0/", unset, true},
  {"19", unset, true},        {"c19", unset, true},  {" 19c", unset, true},
  {long_number.c_str(), "1 c 1 -1", false},
};
// clang-format on

TEST(dataset_version, parses_or_warns) {
  EXPECT_EQ(fields(dataset_version()), unset);
  for (const auto& c : parse_cases) {
    SCOPED_TRACE(c.text);
    dataset_version v("2020a.5.5");  // a parse overwrites every field
    expect_lines(c.warns ? unparsable(c.text) : "", stderr_of([&] {
                   errno = EPERM;
                   v.parse(c.text);
                 }));
    EXPECT_EQ(fields(v), c.fields);
  }
}

TEST(dataset_version, passes_out_of_range_without_a_line) {
  for (const char* text : {"2147483648c", "19c.2147483648", "19c.1.9999999999",
                           too_large.c_str()}) {
    SCOPED_TRACE(text);
    expect_lines("", stderr_of([&] {
                   EXPECT_THROW(dataset_version{text}, std::out_of_range);
                 }));
  }
}

// clang-format off
const struct { const char* a; const char* b; bool a_greater, equal; } order_cases[] = {
  {"19c.1.0", "19c", true, false},     {"19c.1.0", "19c.1", true, false},
  {"19c.1.0", "19c.0.9", true, false}, {"20a", "19z", true, false},
  {"19d", "19c.9.9", true, false},     {"19z", "19aa", true, false},
  {"19c.1.0", "19c.01.00", false, true}, {"0a", "", true, false},
  {"", "x", false, true},
};
// clang-format on

TEST(dataset_version, orders_field_by_field) {
  for (const auto& c : order_cases) {
    SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
    dataset_version a, b;
    stderr_of([&] { a.parse(c.a), b.parse(c.b); });  // "" and "x" warn
    EXPECT_EQ(a > b, c.a_greater);
    EXPECT_FALSE(b > a);
    EXPECT_EQ(a == b, c.equal);
  }
}

}  // namespace
