// Which files a release's Makefile compiles: TDATA, expanded.
#include "tzctl/tzdata_makefile.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// TDATA= $(V<depth>), each V<k>= $(V<k-1>), and V1= zone: `depth`
// references between TDATA and the word.
std::string chain(int depth) {
  std::string text = "V1= zone\n";
  for (int k = 2; k <= depth; ++k)
    text += "V" + std::to_string(k) + "= $(V" + std::to_string(k - 1) + ")\n";
  return text + "TDATA= $(V" + std::to_string(depth) + ")\n";
}

struct makefile_case {
  const char* name;
  const char* text;
  std::vector<std::string> files;
};

TEST(compiled_source_files, expands_tdata) {
  const std::string deep = chain(16), deeper = chain(17);
  const makefile_case cases[] = {
      {"continued lines and references",
       "PRIMARY_YDATA=\tafrica \\\n\t\tasia\nYDATA=\t$(PRIMARY_YDATA) "
       "etcetera\nNDATA= factory\nBACKWARD=\tbackward\n"
       "TDATA=\t\t$(YDATA) $(NDATA) $(BACKWARD)\n",
       {"africa", "asia", "etcetera", "factory", "backward"}},
      {"an empty or unknown variable adds nothing",
       "PACKRATDATA=\nTDATA := europe $(PACKRATDATA) $(NOWHERE)\n", {"europe"}},
      {"recipes and comments are no assignments",
       "# TDATA= wrong\nTDATA= a\nall:\n\tTDATA=b\n", {"a"}},
      {"a loop expands to nothing", "A= $(B)\nB= $(A)\nTDATA= $(A) x\n", {"x"}},
      {"no TDATA", "YDATA= asia\n", {}},
      {"NAME:= with no space", "TDATA:= asia\n", {"asia"}},
      {"16 references deep", deep.c_str(), {"zone"}},
      {"17 references deep is taken for a loop", deeper.c_str(), {}},
  };
  for (const makefile_case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(compiled_source_files(c.text), c.files);
  }
}

}  // namespace
