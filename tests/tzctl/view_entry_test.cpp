// Two files of a view are compared block by block; only a difference in
// any block makes them differ, wherever it lies.
#include "tzctl/view_entry.h"

#include <fcntl.h>   // open, O_*
#include <unistd.h>  // close

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

constexpr size_t block = 64 * 1024;  // the view's block

const std::string blocks(char first, char second) {
  return std::string(block, first) + std::string(block, second);
}

// clang-format off
const struct { const char* why; std::string a, b; bool same; } cases[] = {
  {"small and equal",             "2019c.1.0_2020a.1.0", "2019c.1.0_2020a.1.0", true},
  {"small, one byte apart",       "2019c.1.0_2020a.1.0", "2019c.1.0_2020b.1.0", false},
  {"two equal blocks",            blocks('x', 'y'),      blocks('x', 'y'),      true},
  {"the first block apart",       blocks('x', 'y'),      blocks('z', 'y'),      false},
  {"the second block apart",      blocks('x', 'y'),      blocks('x', 'z'),      false},
  {"a block and a byte, the byte apart",
   blocks('x', 'y').substr(0, block) + "a", blocks('x', 'y').substr(0, block) + "b", false},
};
// clang-format on

TEST(same_entry, compares_every_block) {
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    for (const char* side : {"/var/tmp/a", "/var/tmp/b"})
      std::filesystem::create_directories(side);
    std::ofstream("/var/tmp/a/f", std::ios::binary) << c.a;
    std::ofstream("/var/tmp/b/f", std::ios::binary) << c.b;
    const int a = open("/var/tmp/a", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int b = open("/var/tmp/b", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    EXPECT_EQ(same_entry(look_at(a, "f", "a/f"), a, look_at(b, "f", "b/f"), b,
                         "f", "f"),
              c.same);
    close(a);
    close(b);
  }
}

}  // namespace
