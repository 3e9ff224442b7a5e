// The test executable refuses to run outside the sandbox, where clearing
// /var would clear the machine's own.
#include <errno.h>        // program_invocation_short_name
#include <linux/magic.h>  // TMPFS_MAGIC
#include <sys/stat.h>     // umask
#include <sys/vfs.h>      // statfs

#include <cstdio>
#include <cstdlib>

#include <gtest/gtest.h>

#include "harness/harness.h"

namespace {

bool on_tmpfs(const char* path) {
  struct statfs info;
  return statfs(path, &info) == 0 && info.f_type == TMPFS_MAGIC;
}

class fresh_state : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { clear_state(); }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (!testing::GTEST_FLAG(list_tests) &&
      (!std::getenv("MIRA_TZLINK_SANDBOX") || !on_tmpfs("/var") ||
       !on_tmpfs("/usr/share"))) {
    std::puts(
        "refusing to run outside the sandbox; run it through ctest or "
        "tools/sandbox --empty");
    return 1;
  }
  // warn(3) lines then start as the tool's own do.
  program_invocation_short_name = const_cast<char*>("mira-tzlink");
  umask(022);
  testing::UnitTest::GetInstance()->listeners().Append(new fresh_state);
  return RUN_ALL_TESTS();
}
