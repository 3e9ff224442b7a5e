// A boot removes the marker before it may touch it, so what the touch does
// to one already there is seen only here.
#include "startup/touch_cleanup_marker.h"

#include <fcntl.h>      // open, O_*
#include <stdlib.h>     // posix_openpt, grantpt, unlockpt, ptsname
#include <sys/wait.h>   // waitpid
#include <sys/xattr.h>  // getxattr
#include <unistd.h>     // fork, setsid, symlink, _exit

#include <gtest/gtest.h>

#include "harness/harness.h"

namespace {

// clang-format off
const struct { const char* given; const char* then; } marker_cases[] = {
  // An existing marker keeps its contents, and gets no class it lacked.
  {"file /var/db/timezone/needs_cleanup \"by cleaner\" 0600",
   "file /var/db/timezone/needs_cleanup \"by cleaner\" 0600\n"},
  // A dangling link is followed, as a plain open would, and never looped on.
  {"link /var/db/timezone/needs_cleanup -> gone",
   "file /var/db/timezone/gone \"\"\nlink /var/db/timezone/needs_cleanup -> gone\n"},
};
// clang-format on

TEST(touch_cleanup_marker, keeps_what_is_there_without_a_class) {
  for (const auto& c : marker_cases) {
    SCOPED_TRACE(c.given);
    clear_state();
    build_state(c.given);
    expect_lines("", stderr_of(touch_cleanup_marker));
    EXPECT_EQ(read_state(), c.then);
    EXPECT_LT(getxattr("/var/db/timezone/needs_cleanup",
                       "user.protection_class", nullptr, 0),
              0);
  }
}

// The boot runs as a session leader with no terminal. A terminal at the
// marker's name is opened and closed, and does not become the boot's own.
TEST(touch_cleanup_marker, never_takes_a_terminal_as_its_own) {
  clear_state();
  build_state("dir /var/db/timezone");
  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(master, 0);
  ASSERT_EQ(grantpt(master) | unlockpt(master), 0);
  ASSERT_EQ(symlink(ptsname(master), "/var/db/timezone/needs_cleanup"), 0);
  const pid_t pid = fork();
  if (pid == 0) {
    setsid();
    touch_cleanup_marker();
    _exit(open("/dev/tty", O_RDONLY) < 0 ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  close(master);
}

}  // namespace
