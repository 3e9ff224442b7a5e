// A boot removes the marker before it may touch it, so what the touch does
// to one already there is seen only here.
#include "startup/touch_cleanup_marker.h"

#include <sys/xattr.h>  // getxattr

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

}  // namespace
