// mira-tzctl preview where scenarios cannot show it: without root, where
// it makes a user namespace of its own or says why it cannot, and without
// a boot tool to run.
#include <gtest/gtest.h>
#include <sys/mount.h>  // mount
#include <unistd.h>     // access

#include <filesystem>
#include <string>
#include <vector>

#include "harness/harness.h"

namespace {

constexpr char unshare[] = "/usr/bin/unshare";

// The boot would only make the missing localtime link.
const char state[] =
    "file /usr/share/zoneinfo.default/+VERSION \"2019c\\n\"\n"
    "file /usr/share/icu/icutzformat.txt \"44l\\n\"\n"
    "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n";

// mira-tzctl preview run by `user_namespace`: unshare's options that make
// its caller an ordinary user.
tool_run preview_as(const std::vector<std::string>& user_namespace) {
  std::vector<std::string> command{unshare, "--user"};
  command.insert(command.end(), user_namespace.begin(), user_namespace.end());
  command.insert(command.end(), {MIRA_TZCTL_BINARY, "preview"});
  return run_tool(command);
}

TEST(preview_command, makes_its_own_user_namespace_without_root) {
  if (access(unshare, X_OK) != 0) GTEST_SKIP() << "no " << unshare;
  build_state(state);
  const std::string before = read_state();
  const tool_run run = preview_as({"--map-user=1000", "--map-group=1000"});
  if (run.stderr_text.find("unrecognized option") != std::string::npos)
    GTEST_SKIP() << "unshare cannot map a user (util-linux before 2.38)";
  EXPECT_EQ(run.status, 0) << run.stderr_text;
  expect_lines(
      "The next boot would write:\n"
      "mira-tzlink: localtime link invalid; resetting to America/Los_Angeles: "
      "*\n"
      "The next boot would change:\n"
      "/var/db/timezone/localtime: (none) -> "
      "link to /var/db/timezone/zoneinfo/America/Los_Angeles\n"
      "It would exit with status 0.\n",
      run.stdout_text);
  EXPECT_EQ(read_state(), before);
}

// An unmapped user may not map itself into a namespace of its own.
TEST(preview_command, says_why_without_root_or_user_namespace) {
  if (access(unshare, X_OK) != 0) GTEST_SKIP() << "no " << unshare;
  build_state(state);
  const tool_run run = preview_as({});
  EXPECT_EQ(run.status, 3);
  expect_lines(
      "mira-tzctl: Cannot make a private view of /var/db: not root, and no "
      "user namespace could be made: *\n",
      run.stderr_text);
  EXPECT_EQ(run.stdout_text, "");
}

// Installed alone, with no boot tool beside it or in /usr/sbin: it says
// which program it could not run.
TEST(preview_command, names_the_boot_tool_it_cannot_find) {
  const char alone[] = "/var/tmp/mira-tzctl";
  std::filesystem::create_directories("/var/tmp");
  std::filesystem::copy_file(MIRA_TZCTL_BINARY, alone);
  ASSERT_EQ(mount("none", "/usr/sbin", "tmpfs", 0, nullptr), 0);
  const tool_run run = run_tool({alone, "preview"});
  EXPECT_EQ(run.status, 3);
  expect_lines(
      "mira-tzctl: Cannot run /usr/sbin/mira-tzlink: No such file or "
      "directory\n",
      run.stderr_text);
}

}  // namespace
