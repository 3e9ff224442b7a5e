// Boots show a parse only through the order it gives: every field is
// seen here.
#include "dataset/dataset_version.h"

#include <errno.h>

#include <string>

#include <gtest/gtest.h>

#include "harness/harness.h"

namespace {

std::string fields(const dataset_version& v) {
  return std::to_string(v.number) + " " + v.letters + " " +
         std::to_string(v.second_number) + " " + std::to_string(v.third_number);
}

const char unset[] = "-1  -1 -1";
// A word of any length is matched: 100,000 leading zeros still read as 1.
const std::string long_number = std::string(100000, '0') + "1c.01";

// clang-format off
const struct { const char* text; const char* fields; } parse_cases[] = {
  {"19c", "19 c -1 -1"},  {"19c.1.0", "19 c 1 0"}, {"19c.1", "19 c 1 -1"},
  {"007ab.02.3", "7 ab 2 3"}, {"2147483647z", "2147483647 z -1 -1"},
  {"19c.1.0.1", unset}, {"19C", unset}, {".1.0", unset}, {"", unset},
  {"19c.", unset}, {"19c.1.0/", unset}, {"19", unset}, {" 19c", unset},
  {"19c12", unset}, {"19c.1x", unset},
  {long_number.c_str(), "1 c 1 -1"},
};
// clang-format on

TEST(dataset_version, parses_or_warns) {
  EXPECT_EQ(fields(dataset_version()), unset);
  for (const auto& c : parse_cases) {
    SCOPED_TRACE(c.text);
    dataset_version v("2020a.5.5");  // a parse overwrites every field
    // errno is set before the parse: both lines must carry it.
    const std::string stem =
        "mira-tzlink: Cannot parse version string " + std::string(c.text);
    const std::string warned = stem +
                               ", results.size() = 0: Operation not "
                               "permitted\n" +
                               stem + ": Operation not permitted\n";
    expect_lines(c.fields == unset ? warned : "",
                 stderr_of([&] { errno = EPERM, v.parse(c.text); }));
    EXPECT_EQ(fields(v), c.fields);
  }
}

}  // namespace
