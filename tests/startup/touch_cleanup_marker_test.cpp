#include "startup/touch_cleanup_marker.h"

#include <gtest/gtest.h>
#include <sys/xattr.h>  // getxattr

#include <string>

#include "harness/capture.h"
#include "harness/state.h"

namespace {

struct marker_case {
  const char* given;
  const char* lines;
  const char* then;
  const char* protection_class;  // of the marker afterwards
};

// clang-format off
const marker_case marker_cases[] = {
  // A new marker is empty and carries the class.
  {"dir /var/db/timezone", "",
   "file /var/db/timezone/needs_cleanup \"\"\n", "4"},
  // An existing one keeps its contents, and gets no class it did not have.
  {"file /var/db/timezone/needs_cleanup \"by cleaner\" 0600", "",
   "file /var/db/timezone/needs_cleanup \"by cleaner\" 0600\n", "none"},
  // A dangling link is followed, as a plain open would, and never looped on.
  {"link /var/db/timezone/needs_cleanup -> gone", "",
   "file /var/db/timezone/gone \"\"\nlink /var/db/timezone/needs_cleanup -> gone\n",
   "none"},
  {"", "mira-tzlink: Cannot touch file /var/db/timezone/needs_cleanup: "
       "No such file or directory\n", "", "none"},
  {"dir /var/db/timezone/needs_cleanup", "mira-tzlink: Cannot touch file "
   "/var/db/timezone/needs_cleanup: Is a directory\n",
   "dir /var/db/timezone/needs_cleanup\n", "none"},
};
// clang-format on

TEST(touch_cleanup_marker, creates_or_keeps_the_marker) {
  for (const marker_case& c : marker_cases) {
    SCOPED_TRACE(c.given);
    clear_state();
    build_state(c.given);
    expect_lines(c.lines, stderr_of(touch_cleanup_marker));
    EXPECT_EQ(read_state(), c.then);
    char value[8] = {};
    const bool has_class =
        getxattr("/var/db/timezone/needs_cleanup", "user.protection_class",
                 value, sizeof value - 1) > 0;
    EXPECT_EQ(has_class ? value : "none", std::string(c.protection_class));
  }
}

}  // namespace
