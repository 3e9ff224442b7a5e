// mira-tzctl clean where scenarios cannot show it: on a tree deeper than
// any path can spell out, which no scenario line can name, and against a
// lock another process holds for a moment.
#include <fcntl.h>         // openat, O_*
#include <sys/file.h>      // flock
#include <sys/resource.h>  // getrlimit
#include <sys/stat.h>      // mkdirat
#include <unistd.h>        // close

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "harness/harness.h"

namespace {

// `depth` directories named `name`, one inside the next, below `top`.
void nest(const char* top, const std::string& name, int depth) {
  int fd = open(top, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (int level = 0; level < depth && fd >= 0; ++level) {
    ASSERT_EQ(mkdirat(fd, name.c_str(), 0755), 0);
    const int below =
        openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    close(fd);
    fd = below;
  }
  ASSERT_GE(fd, 0);
  close(fd);
}

// A set holding `depth` directories named `name`, one inside the next,
// cleaned: what lies deeper than a path can spell out is left unexplored,
// the set stays, and the line that says so stays within a path's length.
void expect_deep_set_kept(const std::string& name, int depth) {
  build_state(
      "file /var/db/timezone/tz/2019a.1.0/zoneinfo/+VERSION \"2019a\\n\"\n"
      "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n"
      "file /var/db/timezone/needs_cleanup \"\"\n");
  nest("/var/db/timezone/tz/2019a.1.0", name, depth);
  // As many descriptors as may be had, as a raised limit gives: the open
  // files alone no longer end the walk.
  rlimit files;
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
  std::vector<resource_limit> limits = {{RLIMIT_NOFILE, files.rlim_max}};
  if (address_limits_apply) limits.push_back({RLIMIT_AS, 64 << 20});
  const tool_run run = run_tool({MIRA_TZCTL_BINARY, "clean"}, "", true, limits);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.stdout_text, "");
  const std::string kept =
      "mira-tzctl: Keeping /var/db/timezone/tz/2019a.1.0: cannot look "
      "inside /var/db/timezone/tz/2019a.1.0/" + name + "/";
  EXPECT_EQ(run.stderr_text.substr(0, kept.size()), kept);
  EXPECT_LT(run.stderr_text.size(), 4096u + 200u);
}

// Walked to its bottom, this tree would take the whole stack,
TEST(clean_command, keeps_a_set_too_deep_for_the_stack) {
  expect_deep_set_kept("d", 25000);
}

// and this one memory as the square of its depth.
TEST(clean_command, keeps_a_set_of_long_names_deeper_than_a_path) {
  expect_deep_set_kept(std::string(255, 'n'), 2100);
}

// An install holds the lock while it publishes: a clean that meets it
// waits a moment for it, rather than giving up at once. (A thread holds
// it: the harness takes any child that ends for the tool.)
TEST(clean_command, waits_for_a_lock_held_a_moment) {
  build_state(
      "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n"
      "file /var/db/timezone/needs_cleanup \"\"\n"
      "file /var/db/timezone/.mira-tzctl.lock \"\"\n");
  const int fd = open("/var/db/timezone/.mira-tzctl.lock", O_RDWR | O_CLOEXEC);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  std::thread holder([fd] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    close(fd);
  });
  const tool_run run = run_tool({MIRA_TZCTL_BINARY, "clean"});
  holder.join();
  EXPECT_EQ(run.status, 0);
  expect_lines("", run.stderr_text);
  expect_lines("Reclaimed 0 bytes; clean-up marker removed.\n",
               run.stdout_text);
}

}  // namespace
