// Run by the bench test; see bench/README.md.
#include "instruction_count.h"

#include <fstream>
#include <stdexcept>

namespace {

constexpr char profile_path[] = "/var/tmp/bench.callgrind";

// The profile's "summary:" line holds the total of the one event counted.
long long read_summary(const std::string& path) {
  std::ifstream profile(path);
  for (std::string line; std::getline(profile, line);) {
    if (line.starts_with("summary: ")) return std::stoll(line.substr(9));
  }
  throw std::runtime_error("no summary in " + path);
}

}  // namespace

long long count_instructions(const std::string& valgrind, const candidate& c) {
  candidate profiled = c;
  profiled.argv = {valgrind, "--tool=callgrind", "--vgdb=no",
                   std::string("--callgrind-out-file=") + profile_path};
  profiled.argv.insert(profiled.argv.end(), c.argv.begin(), c.argv.end());
  run_checked(profiled);
  return read_summary(profile_path);
}
