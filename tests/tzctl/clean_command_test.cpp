// mira-tzctl clean where scenarios cannot show it: on a tree deeper than
// any path can spell out, which no scenario line can name.
#include <fcntl.h>         // openat, O_*
#include <sys/resource.h>  // getrlimit
#include <sys/stat.h>      // mkdirat
#include <unistd.h>        // close

#include <gtest/gtest.h>

#include "harness/harness.h"

namespace {

// `depth` directories one inside the next, below `top`.
void nest(const char* top, int depth) {
  int fd = open(top, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (int level = 0; level < depth && fd >= 0; ++level) {
    ASSERT_EQ(mkdirat(fd, "d", 0755), 0);
    const int below = openat(fd, "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    close(fd);
    fd = below;
  }
  ASSERT_GE(fd, 0);
  close(fd);
}

// Walked to its bottom, such a tree would take the whole stack; its depths
// are left unexplored, and the set that holds them stays.
TEST(clean_command, keeps_a_set_deeper_than_a_path_can_spell) {
  build_state(
      "file /var/db/timezone/tz/2019a.1.0/zoneinfo/+VERSION \"2019a\\n\"\n"
      "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n"
      "file /var/db/timezone/needs_cleanup \"\"\n");
  nest("/var/db/timezone/tz/2019a.1.0", 25000);
  // As many descriptors as may be had, as a raised limit gives: the open
  // files alone no longer end the walk.
  rlimit files;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
  const tool_run run = run_tool({MIRA_TZCTL_BINARY, "clean"}, "", true,
                                {{RLIMIT_NOFILE, files.rlim_max}});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.stdout_text, "");
  const std::string kept =
      "mira-tzctl: Keeping /var/db/timezone/tz/2019a.1.0: cannot look "
      "inside /var/db/timezone/tz/2019a.1.0/d/d/d/d";
  EXPECT_EQ(run.stderr_text.substr(0, kept.size()), kept) << run.stderr_text;
}

}  // namespace
