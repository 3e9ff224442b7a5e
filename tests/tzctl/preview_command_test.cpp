// mira-tzctl preview where scenarios cannot show it: without root, where
// it makes a user namespace of its own or says why it cannot; with a mount
// that a later one hides; without a boot tool to run, or with one that
// cannot run, dies or writes a line in pieces; and with files too large to
// read whole.
#include <gtest/gtest.h>
#include <sys/mount.h>  // mount, umount2, MS_BIND, MNT_DETACH
#include <unistd.h>     // access, truncate

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "harness/harness.h"

namespace {

constexpr char unshare[] = "/usr/bin/unshare";
constexpr char prlimit[] = "/usr/bin/prlimit";

// The boot would only make the missing localtime link.
const char state[] =
    "file /usr/share/zoneinfo.default/+VERSION \"2019c\\n\"\n"
    "file /usr/share/icu/icutzformat.txt \"44l\\n\"\n"
    "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n";

// What preview forecasts for `state`.
const char localtime_forecast[] =
    "The next boot would write:\n"
    "mira-tzlink: localtime link invalid; resetting to America/Los_Angeles: "
    "*\n"
    "The next boot would change:\n"
    "/var/db/timezone/localtime: (none) -> "
    "link to /var/db/timezone/zoneinfo/America/Los_Angeles\n"
    "It would exit with status 0.\n";

// mira-tzctl preview run by `user_namespace`: unshare's options that make
// its caller an ordinary user.
tool_run preview_as(const std::vector<std::string>& user_namespace) {
  std::vector<std::string> command{unshare, "--user"};
  command.insert(command.end(), user_namespace.begin(), user_namespace.end());
  command.insert(command.end(), {MIRA_TZCTL_BINARY, "preview"});
  return run_tool(command);
}

// Without root: the forecast; or, with a file system mounted below
// /var/db, beneath which the kernel lets no overlay in a user namespace of
// our own show, a line naming it.
struct without_root_case {
  const char* name;
  const char* mounted;  // where a tmpfs is mounted first, if anywhere
  int status;
  const char* stdout_lines;
  const char* stderr_lines;
};
const without_root_case without_root_cases[] = {
    {"nothing_mounted", nullptr, 0, localtime_forecast, ""},
    {"file_system_below", "/var/db/timezone/tz", 3, "",
     "mira-tzctl: Cannot make a private view of /var/db without root: a file "
     "system is mounted at /var/db/timezone/tz\n"},
};

TEST(preview_command, makes_its_own_user_namespace_without_root) {
  if (access(unshare, X_OK) != 0) GTEST_SKIP() << "no " << unshare;
  if (const std::string why = overlay_unavailable(); !why.empty())
    GTEST_SKIP() << why;
  build_state(state);
  for (const without_root_case& c : without_root_cases) {
    SCOPED_TRACE(c.name);
    if (c.mounted != nullptr) {
      std::filesystem::create_directories(c.mounted);
      ASSERT_EQ(mount("none", c.mounted, "tmpfs", 0, nullptr), 0);
    }
    const std::string before = read_state();
    const tool_run run = preview_as({"--map-user=1000", "--map-group=1000"});
    if (run.stderr_text.find("unrecognized option") != std::string::npos)
      GTEST_SKIP() << "unshare cannot map a user (util-linux before 2.38)";
    EXPECT_EQ(run.status, c.status) << run.stderr_text;
    expect_lines(c.stdout_lines, run.stdout_text);
    expect_lines(c.stderr_lines, run.stderr_text);
    EXPECT_EQ(read_state(), before);
    if (c.mounted != nullptr) umount2(c.mounted, MNT_DETACH);
  }
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

// A boot tool beside mira-tzctl that cannot run, or dies: the preview says
// what failed and shows no verdict. One that writes a line in pieces, down
// to a single byte, is shown the line whole. Below a directory removed, or
// made anew where one was, no entry shows through. A write outside what
// the view covers fails, and never reaches the machine.
struct fake_boot_case {
  const char* name;
  const char* program;  // the boot tool's content, mode 0755
  int status;
  const char* stdout_lines;
  const char* stderr_lines;
};
const fake_boot_case fake_boot_cases[] = {
    {"killed", "#!/bin/sh\nkill -KILL $$\n", 3, "",
     "mira-tzctl: The boot tool was killed by signal 9\n"},
    {"not_a_program", "neither a script nor a program\n", 3, "",
     "mira-tzctl: Cannot start the boot tool: Exec format error\n"},
    {"line_in_pieces", "#!/bin/sh\nprintf m >&2; printf 'ira: x\\n' >&2\n", 0,
     "The next boot would write:\nmira: x\n"
     "The next boot would change nothing.\nIt would exit with status 0.\n",
     ""},
    {"removes_a_directory", "#!/bin/sh\nrm -r /var/db/timezone/old\n", 0,
     "The next boot would write no line.\nThe next boot would change:\n"
     "/var/db/timezone/old: directory -> (none)\n"
     "/var/db/timezone/old/a: file \"x\" -> (none)\n"
     "It would exit with status 0.\n",
     ""},
    {"makes_a_directory_anew",
     "#!/bin/sh\nrm -r /var/db/timezone/old; mkdir /var/db/timezone/old\n", 0,
     "The next boot would write no line.\nThe next boot would change:\n"
     "/var/db/timezone/old/a: file \"x\" -> (none)\n"
     "It would exit with status 0.\n",
     ""},
    {"writes_outside",
     "#!/bin/sh\n{ echo x >/usr/share/leak; } 2>/dev/null && echo wrote >&2 "
     "|| echo refused >&2\n",
     0,
     "The next boot would write:\nrefused\n"
     "The next boot would change nothing.\nIt would exit with status 0.\n",
     ""},
};

TEST(preview_command, shows_what_a_boot_tool_did_or_what_failed) {
  if (const std::string why = overlay_unavailable(); !why.empty())
    GTEST_SKIP() << why;
  const std::filesystem::path bin = "/var/tmp/bin";
  for (const fake_boot_case& c : fake_boot_cases) {
    SCOPED_TRACE(c.name);
    clear_state();
    build_state(std::string(state) + "file /var/db/timezone/old/a \"x\"\n");
    std::filesystem::create_directories(bin);
    std::filesystem::copy_file(MIRA_TZCTL_BINARY, bin / "mira-tzctl");
    std::ofstream(bin / "mira-tzlink", std::ios::trunc) << c.program;
    std::filesystem::permissions(bin / "mira-tzlink",
                                 std::filesystem::perms(0755));
    const tool_run run = run_tool({bin / "mira-tzctl", "preview"});
    EXPECT_EQ(run.status, c.status);
    expect_lines(c.stderr_lines, run.stderr_text);
    expect_lines(c.stdout_lines, run.stdout_text);
    EXPECT_FALSE(std::filesystem::exists("/usr/share/leak"));
  }
}

// Files of 300 MB, one the boot replaces and one it never opens: memory
// and time do not follow their size.
TEST(preview_command, never_reads_a_large_file_whole) {
  if (access(prlimit, X_OK) != 0) GTEST_SKIP() << "no " << prlimit;
  if (const std::string why = overlay_unavailable(); !why.empty())
    GTEST_SKIP() << why;
  build_state(
      "file /usr/share/zoneinfo.default/+VERSION \"2019c\\n\"\n"
      "file /usr/share/icu/icutzformat.txt \"44l\\n\"\n"
      "file /var/db/timezone/tz/2020a.1.0/icutz/icutz44l.dat \"\"\n"
      "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n"
      "link /var/db/timezone/tz_latest -> /var/db/timezone/tz/2020a.1.0\n"
      "link /var/db/timezone/localtime -> /var/db/timezone/zoneinfo/UTC\n");
  for (const char* large : {"/var/db/timezone/TZVersionDiffRecord",
                            "/var/db/timezone/large"}) {
    std::ofstream{large};
    ASSERT_EQ(truncate(large, 300 << 20), 0);  // sparse: costs no memory
  }
  const auto start = std::chrono::steady_clock::now();
  const tool_run run =
      address_limits_apply
          ? run_tool({prlimit, "--as=268435456", MIRA_TZCTL_BINARY, "preview"})
          : run_tool({MIRA_TZCTL_BINARY, "preview"});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_EQ(run.status, 0) << run.stderr_text;
  expect_lines(
      "The next boot would write no line.\n"
      "The next boot would change:\n"
      "/var/db/timezone/TZVersionDiffRecord: file of 314572800 bytes -> "
      "file \"2019c.1.0_2020a.1.0\"\n"
      "/var/db/timezone/icutz: (none) -> "
      "link to /var/db/timezone/tz/2020a.1.0/icutz\n"
      "/var/db/timezone/zoneinfo: link to /usr/share/zoneinfo.default -> "
      "link to /var/db/timezone/tz/2020a.1.0/zoneinfo\n"
      "It would exit with status 0.\n",
      run.stdout_text);
}

}  // namespace
