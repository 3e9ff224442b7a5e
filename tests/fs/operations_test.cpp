#include "fs/operations.h"

#include <errno.h>
#include <sys/xattr.h>  // getxattr

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "harness/capture.h"
#include "harness/state.h"

namespace {

const std::string long_target = "/" + std::string(1023, 'a');  // 1024 bytes

struct op_case {
  const char* what;
  const char* given;
  std::function<std::string()> op;  // its result as text
  const char* result;
  int thrown;         // errno thrown as int, 0 for none
  const char* lines;  // whole stderr lines
  const char* then;   // /var/db afterwards
};

std::string nothing(const std::function<void()>& f) {
  f();
  return "";
}

// clang-format off
const op_case op_cases[] = {
  {"remove of a missing entry", "",
   [] { return nothing([] { fs::remove("/var/db/none"); }); }, "", 0, "", ""},
  {"remove of a dangling link removes the link", "link /var/db/l -> /nowhere",
   [] { return nothing([] { fs::remove("/var/db/l"); }); }, "", 0, "", ""},
  {"remove of a link leaves its target", "file /var/db/f \"x\"\nlink /var/db/l -> f",
   [] { return nothing([] { fs::remove("/var/db/l"); }); }, "", 0, "",
   "file /var/db/f \"x\"\n"},
  {"remove of a directory fails", "dir /var/db/d",
   [] { return nothing([] { fs::remove("/var/db/d"); }); }, "", EISDIR,
   "mira-tzlink: remove: could not remove /var/db/d: Is a directory\n",
   "dir /var/db/d\n"},
  {"read_symlink of a missing entry", "",
   [] { return fs::read_symlink("/var/db/none"); }, "", 0, "", ""},
  {"read_symlink under a missing directory", "",
   [] { return fs::read_symlink("/var/db/no/where"); }, "", 0, "", ""},
  {"read_symlink of a dangling link", "link /var/db/l -> ../x y\\n",
   [] { return fs::read_symlink("/var/db/l"); }, "../x y\\n", 0, "",
   "link /var/db/l -> ../x y\\n\n"},
  {"read_symlink of a file", "file /var/db/f \"\"",
   [] { return fs::read_symlink("/var/db/f"); }, "", EINVAL,
   "mira-tzlink: read_symlink: /var/db/f: Invalid argument\n",
   "file /var/db/f \"\"\n"},
  {"read_symlink of a directory", "dir /var/db/d",
   [] { return fs::read_symlink("/var/db/d"); }, "", EINVAL,
   "mira-tzlink: read_symlink: /var/db/d: Invalid argument\n", "dir /var/db/d\n"},
  {"create_symlink onto a dangling link", "link /var/db/l -> /old",
   [] { return nothing([] { fs::create_symlink("/new", "/var/db/l"); }); }, "",
   EEXIST, "mira-tzlink: create_symlink: from /var/db/l to /new: File exists\n",
   "link /var/db/l -> /old\n"},
  {"create_symlink in a missing directory", "",
   [] { return nothing([] { fs::create_symlink("t", "/var/db/no/l"); }); }, "",
   ENOENT,
   "mira-tzlink: create_symlink: from /var/db/no/l to t: No such file or directory\n",
   ""},
  {"create_symlink keeps a missing, relative target as given", "dir /var/db/d",
   [] { return nothing([] { fs::create_symlink("../x/%s", "/var/db/d/l"); }); },
   "", 0, "", "link /var/db/d/l -> ../x/%s\n"},
  {"exists of a dangling link", "link /var/db/l -> /nowhere",
   [] { return std::to_string(fs::exists("/var/db/l")); }, "0", 0, "",
   "link /var/db/l -> /nowhere\n"},
  {"exists of a link to a directory", "dir /var/db/d\nlink /var/db/l -> d",
   [] { return std::to_string(fs::exists("/var/db/l")); }, "1", 0, "",
   "dir /var/db/d\nlink /var/db/l -> d\n"},
  {"set_protection_class of a missing path", "",
   [] { return nothing([] { fs::set_protection_class("/var/db/none/"); }); },
   "", 0, "", ""},
};
// clang-format on

TEST(operations, table) {
  for (const op_case& c : op_cases) {
    SCOPED_TRACE(c.what);
    clear_state();
    build_state(c.given);
    std::string result;
    int thrown = 0;
    const std::string lines = stderr_of([&] {
      try {
        result = c.op();
      } catch (int error) {
        thrown = error;
      }
    });
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(thrown, c.thrown);
    expect_lines(c.lines, lines);
    EXPECT_EQ(read_state(), c.then);
  }
}

TEST(read_symlink, keeps_1024_bytes_of_a_target) {
  build_state("link /var/db/exact -> " + long_target + "\n" +
              "link /var/db/longer -> " + long_target + "bc\n");
  EXPECT_EQ(stderr_of([] {
              EXPECT_EQ(fs::read_symlink("/var/db/exact"), long_target);
              EXPECT_EQ(fs::read_symlink("/var/db/longer"), long_target);
            }),
            "");
}

TEST(set_protection_class, marks_a_directory_with_class_4) {
  build_state("dir /var/db/timezone");
  EXPECT_EQ(stderr_of([] { fs::set_protection_class("/var/db/timezone/"); }),
            "");
  char value[8] = {};
  ASSERT_EQ(getxattr("/var/db/timezone", "user.protection_class", value,
                     sizeof value - 1),
            1);
  EXPECT_STREQ(value, "4");
}

}  // namespace
