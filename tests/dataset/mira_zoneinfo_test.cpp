#include "dataset/mira_zoneinfo.h"

#include <errno.h>

#include <gtest/gtest.h>

#include "harness/capture.h"
#include "harness/state.h"

namespace {

// clang-format off
const struct { const char* path; const char* given; const char* directory, *version; } read_cases[] = {
  {"", "file /usr/share/zoneinfo.default/+VERSION \"2019c\\n\"",
   "/usr/share/zoneinfo.default", "2019c"},
  {"", "", "/usr/share/zoneinfo.default", ""},
  {"", "file /usr/share/zoneinfo.default/+VERSION \" \\n\\t\\n\"",
   "/usr/share/zoneinfo.default", ""},
  {"", "file /usr/share/zoneinfo.default/+VERSION \"\\n  2019c extra\"",
   "/usr/share/zoneinfo.default", "2019c"},
  {"/var/u", "file /var/u/zoneinfo/+VERSION \"2020a\"", "/var/u/zoneinfo", "2020a"},
  {"/var/u/", "file /var/u/zoneinfo/+VERSION \"2020a\"", "/var/u//zoneinfo", "2020a"},
  {"/var/u", "file /usr/share/zoneinfo.default/+VERSION \"2019c\"",
   "/var/u/zoneinfo", ""},
};
// clang-format on

TEST(mira_zoneinfo, reads_the_version_word_silently) {
  for (const auto& c : read_cases) {
    SCOPED_TRACE(std::string(c.path) + " given " + c.given);
    clear_state();
    build_state(c.given);
    expect_lines("", stderr_of([&] {
                   const mira_zoneinfo z(c.path);
                   EXPECT_EQ(z.dataset_path, c.path);
                   EXPECT_EQ(z.directory, c.directory);
                   EXPECT_EQ(z.get_version(), c.version);
                   if (*c.path == '\0') {  // the default one is the same
                     const mira_zoneinfo d;
                     EXPECT_EQ(d.directory + d.version,
                               z.directory + z.version);
                   }
                 }));
  }
}

}  // namespace
