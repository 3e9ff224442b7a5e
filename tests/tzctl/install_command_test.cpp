// mira-tzctl install where scenarios cannot show it: the order of its
// calls, and a whole set copied under a small limit on open files.
#include <sys/resource.h>  // RLIMIT_NOFILE
#include <unistd.h>        // access

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "harness/harness.h"

namespace {

constexpr char strace[] = "/usr/bin/strace";
constexpr char trace[] = "/var/install.trace";  // /var is the sandbox's own

// In this order, other calls between them.
const char* const steps[] = {
    R"(syncfs\(\d+</var/db/timezone/tz/\.installing-2099a\.1\.0\.\d+>\))",
    R"(rename\("/var/db/timezone/tz/\.installing-2099a\.1\.0\.\d+", )"
    R"("/var/db/timezone/tz/2099a\.1\.0"\))",
    R"(fsync\(\d+</var/db/timezone/tz>\))",
    R"(rename\("/var/db/timezone/\.tz_latest\.installing", )"
    R"("/var/db/timezone/tz_latest"\))",
    R"(fsync\(\d+</var/db/timezone>\))",
};

const char system_data[] =
    "file /usr/share/zoneinfo.default/+VERSION \"2026a\\n\"\n"
    "file /usr/share/icu/icutzformat.txt \"44l\\n\"\n";

// Each step made durable before the next one names it: after a power cut,
// tz_latest never names a set whose files were never written, nor a name
// the directory never kept. Only a trace of the calls shows the order.
TEST(install, syncs_each_step_before_the_next_names_it) {
  if (access(strace, X_OK) != 0)
    GTEST_SKIP() << "strace not found (apt-get install strace)";
  if (const std::string why = missing_inputs(); !why.empty()) GTEST_SKIP() << why;
  build_state(system_data);
  const std::string inputs = MIRA_TZLINK_INSTALL_INPUTS;
  // LeakSanitizer's exit check cannot run under a tracer.
  const tool_run run = run_tool(
      {"ASAN_OPTIONS=detect_leaks=0", strace, "-y", "-o", trace, "-e",
       "trace=syncfs,fsync,rename,symlink", MIRA_TZCTL_BINARY, "install",
       inputs + "/tree-2099a", inputs + "/icu-2099a"});
  ASSERT_EQ(run.status, 0) << run.stderr_text;
  std::ifstream calls(trace);
  std::string line;
  for (const char* step : steps) {
    const std::regex pattern(step);
    while (std::getline(calls, line) && !std::regex_search(line, pattern)) {
    }
    EXPECT_TRUE(calls) << "no " << step << " after the step before";
  }
}

// Each file is closed once copied: under a limit of 32 open files, a tree
// of sixty zones and more goes in whole, and stays where it was.
TEST(install, copies_many_zones_under_a_small_file_limit) {
  if (const std::string why = missing_inputs(); !why.empty()) GTEST_SKIP() << why;
  build_state(system_data);
  namespace stdfs = std::filesystem;
  const std::string inputs = MIRA_TZLINK_INSTALL_INPUTS;
  stdfs::create_directories("/var/tmp");
  stdfs::copy(inputs + "/tree-many", "/var/tmp/tree",
              stdfs::copy_options::recursive);
  stdfs::remove_all("/var/tmp/tree/Zz");  // its zone is cut short
  const tool_run run =
      run_tool({MIRA_TZCTL_BINARY, "install", "/var/tmp/tree",
                inputs + "/icu-2099a"},
               "", true, {{RLIMIT_NOFILE, 32}});
  EXPECT_EQ(run.status, 0) << run.stderr_text;
  for (int n = 10; n < 70; ++n)
    EXPECT_TRUE(stdfs::is_regular_file(
        "/var/db/timezone/tz/2099a.1.0/zoneinfo/Many/Z" + std::to_string(n)))
        << n;
  // On tz/'s own file system, the operator's tree is copied, not moved.
  EXPECT_TRUE(stdfs::is_regular_file("/var/tmp/tree/Many/Z10"));
}

}  // namespace
