#pragma once

// Installing this machine's whole tzdata release: `mira-tzctl install` of
// its tarball against zic of the same source plus `cp -a` of the compiled
// tree, each run from an empty /var/db/timezone/tz. Prints its rows and
// returns the ratio of medians; throws std::runtime_error on a failed run.

#include <string>

struct install_programs {
  std::string tzctl, zic, sh;
  std::string inputs;          // made by the build: see bench/CMakeLists.txt
  std::string system_version;  // the machine's release, for +VERSION
};

double measure_tzdata_install(const install_programs& p);
