// The whole binary on directories it must protect at every boot.
#include <sys/xattr.h>  // getxattr

#include <string>

#include <gtest/gtest.h>

#include "harness/capture.h"
#include "harness/state.h"

namespace {

std::string protection_class(const char* path) {
  char value[8] = {};
  if (getxattr(path, "user.protection_class", value, sizeof value - 1) < 0)
    return "none";
  return value;
}

TEST(main, protects_both_data_directories_silently) {
  build_state("dir /var/db/timezone/tz\ndir /var/db/other");
  const tool_run run = run_tool();
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_EQ(run.stderr_text, "");
  EXPECT_EQ(protection_class("/var/db/timezone"), "4");
  EXPECT_EQ(protection_class("/var/db/timezone/tz"), "4");
  EXPECT_EQ(protection_class("/var/db/other"), "none");
}

}  // namespace
