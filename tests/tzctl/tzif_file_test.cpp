// Whole and cut TZif files, built byte by byte: a zone file's length must
// be exactly what its headers' counts make it.
#include "tzctl/tzif_file.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>

namespace {

// A header of `version` with counts isut, isstd, leap, time, type, chars.
std::string header(char version, std::uint32_t time, std::uint32_t type,
                   std::uint32_t chars) {
  std::string h = "TZif";
  h += version;
  h += std::string(15, '\0');
  for (std::uint32_t n : {0u, 0u, 0u, time, type, chars})
    for (int shift : {24, 16, 8, 0}) h += char((n >> shift) & 0xff);
  return h;
}

// One transition, one type, four bytes of names: 4+1+6+4 bytes of data in
// version 1, 8+1+6+4 in the 64-bit part.
std::string version_2_file() {
  return header('2', 1, 1, 4) + std::string(15, 'x') + header('2', 1, 1, 4) +
         std::string(19, 'x') + "\nJST-9\n";
}

struct tzif_case {
  const char* name;
  std::string bytes;
  tzif_shape shape;
};

constexpr tzif_shape whole = tzif_shape::whole, cut = tzif_shape::cut,
                     other = tzif_shape::other;

TEST(tzif_file, length_matches_the_counts) {
  const std::string v2 = version_2_file();
  // Names longer than the first read: the 64-bit part lies beyond it.
  const std::string long_v2 = header('2', 0, 1, 70000) +
                              std::string(70006, 'x') + header('2', 0, 1, 4) +
                              std::string(10, 'x') + "\nJST-9\n";
  const tzif_case cases[] = {
      {"version 1, whole", header('\0', 1, 1, 4) + std::string(15, 'x'), whole},
      {"version 1, a byte short", header('\0', 1, 1, 4) + std::string(14, 'x'),
       cut},
      {"version 1, a byte over", header('\0', 1, 1, 4) + std::string(16, 'x'),
       cut},
      {"version 2, whole", v2, whole},
      {"version 2, no closing line end", v2.substr(0, v2.size() - 1), cut},
      {"version 2, cut in the 64-bit part", v2.substr(0, 100), cut},
      {"version 2, bytes after the rule", v2 + "x", cut},
      {"no magic", "TZix" + v2.substr(4), other},
      {"cut inside the magic", "TZi", other},
      {"the magic alone", "TZif", cut},
      {"cut inside the first header", v2.substr(0, 30), cut},
      {"empty", "", other},
      {"version 2 past the first read, whole", long_v2, whole},
      {"version 2 past the first read, cut",
       long_v2.substr(0, long_v2.size() - 1), cut},
  };
  const std::string path = "/var/zone";
  for (const tzif_case& c : cases) {
    SCOPED_TRACE(c.name);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << c.bytes;
    EXPECT_EQ(tzif_shape_of(path), c.shape);
  }
  EXPECT_EQ(tzif_shape_of("/var/no-such-zone"), other);
}

}  // namespace
