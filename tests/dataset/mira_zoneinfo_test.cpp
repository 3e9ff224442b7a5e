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

const char zoneinfo_dir_lines[] =
    "mira-tzlink: remove: could not remove /var/db/timezone/zoneinfo: Is a "
    "directory\n"
    "mira-tzlink: Unlink of zoneinfo softlink failed: Is a directory\n"
    "mira-tzlink: create_symlink: from /var/db/timezone/zoneinfo to "
    "/var/u/zoneinfo: File exists\n";

// clang-format off
const struct { const char* path; const char* given; int runs; const char* lines; int thrown; const char* then; } activate_cases[] = {
  {"", "dir /var/db/timezone", 1, "", 0,
   "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n"},
  {"/var/u", "file /var/db/timezone/zoneinfo \"x\"", 1, "", 0,
   "link /var/db/timezone/zoneinfo -> /var/u/zoneinfo\n"},
  {"/var/u", "link /var/db/timezone/zoneinfo -> /old", 2, "", 0,
   "link /var/db/timezone/zoneinfo -> /var/u/zoneinfo\n"},
  {"/var/u", "dir /var/db/timezone/zoneinfo", 1, zoneinfo_dir_lines, EEXIST,
   "dir /var/db/timezone/zoneinfo\n"},
};
// clang-format on

TEST(mira_zoneinfo, activate_points_the_link_at_its_tree) {
  for (const auto& c : activate_cases) {
    SCOPED_TRACE(std::string(c.path) + " given " + c.given);
    clear_state();
    build_state(c.given);
    mira_zoneinfo z(c.path);
    int thrown = 0;
    expect_lines(c.lines, stderr_of([&] {
                   try {
                     for (int i = 0; i < c.runs; ++i) z.activate();
                   } catch (int error) {
                     thrown = error;
                   }
                 }));
    EXPECT_EQ(thrown, c.thrown);
    EXPECT_EQ(read_state(), c.then);
  }
}

}  // namespace
