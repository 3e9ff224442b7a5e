// The whole binary, for what scenarios cannot see: protection classes.
#include <sys/xattr.h>  // getxattr

#include <string>

#include <gtest/gtest.h>

#include "harness/capture.h"
#include "harness/state.h"

namespace {

const char system_data[] =
    "file /usr/share/zoneinfo.default/+VERSION \"2019c\"\n"
    "file /usr/share/icu/icutzformat.txt \"44l\"\n"
    "link /var/db/timezone/localtime -> /var/db/timezone/zoneinfo/UTC\n";

std::string protection_class(const char* path) {
  char value[8] = {};
  if (getxattr(path, "user.protection_class", value, sizeof value - 1) < 0)
    return "none";
  return value;
}

TEST(main, protects_both_data_directories_silently) {
  build_state(std::string(system_data) +
              "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n"
              "dir /var/db/timezone/tz\ndir /var/db/other");
  const tool_run run = run_tool();
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_EQ(run.stderr_text, "");
  EXPECT_EQ(protection_class("/var/db/timezone"), "4");
  EXPECT_EQ(protection_class("/var/db/timezone/tz"), "4");
  EXPECT_EQ(protection_class("/var/db/other"), "none");
}

TEST(main, new_cleanup_marker_is_protected) {
  // An update of another ICU schema is set aside and leaves the marker.
  build_state(std::string(system_data) +
              "file /var/db/timezone/tz/2020a.1.0/icutz/icutz44b.dat \"\"\n"
              "link /var/db/timezone/zoneinfo -> "
              "/var/db/timezone/tz/2020a.1.0/zoneinfo\n");
  const tool_run run = run_tool();
  EXPECT_EQ(run.exit_status, 0);
  expect_lines(
      "mira-tzlink: Symlink points at data incompatible with installed "
      "system: *\n",
      run.stderr_text);
  EXPECT_EQ(protection_class("/var/db/timezone/needs_cleanup"), "4");
}

}  // namespace
