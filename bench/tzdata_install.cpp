// Run by the bench test; see bench/README.md.
#include "tzdata_install.h"

#include <stdlib.h>  // unsetenv

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>

#include "interleaved_runs.h"

namespace stdfs = std::filesystem;

namespace {

// A whole release takes a second or more per run on two busy cores.
constexpr round_budget install_budget = {5, 10, 60.0};
constexpr char tz[] = "/var/db/timezone/tz";
constexpr char installed[] = "/var/db/timezone/tz/2099a.1.0";
// Both candidates compile into /var/tmp, install by its own default.
constexpr char zic_output[] = "/var/tmp/bench-zic";
constexpr char system_zones[] = "/usr/share/zoneinfo.default";

void write_text(const std::string& path, const std::string& text) {
  std::ofstream file(path);
  if (!(file << text)) throw std::runtime_error("cannot write " + path);
}

// The boot rows' states go: install needs an empty tz/ and a system data
// set holding the zones the release must keep.
void make_system_dataset(const install_programs& p) {
  stdfs::remove_all(tz);
  stdfs::create_directory(tz);
  stdfs::remove("/var/db/timezone/tz_latest");
  stdfs::remove("/var/db/timezone/zoneinfo");
  stdfs::create_directory_symlink(system_zones, "/var/db/timezone/zoneinfo");
  stdfs::remove_all(system_zones);
  const process_run run =
      run_process({p.zic, "-d", system_zones, p.inputs + "/release/tzdata.zi"});
  if (!exited_cleanly(run)) throw std::runtime_error("zic of the system set");
  write_text(std::string(system_zones) + "/+VERSION", p.system_version + "\n");
}

// Untimed, before each run of either candidate.
void empty_tz() {
  stdfs::remove_all(zic_output);
  for (const auto& entry : stdfs::directory_iterator(tz))
    stdfs::remove_all(entry.path());
  stdfs::remove("/var/db/timezone/tz_latest");
}

bool zones_installed() {
  return stdfs::is_regular_file(std::string(installed) +
                                "/zoneinfo/Europe/Paris");
}

std::vector<candidate> install_candidates(const install_programs& p) {
  // One shell runs both steps, as an operator's line would.
  const std::string zic_and_copy = p.zic + " -d " + zic_output + " " +
                                   p.inputs + "/release/tzdata.zi && cp -a " +
                                   zic_output + " " + installed;
  return {
      {"mira-tzctl install (tarball + ICU)",
       {p.tzctl, "install", p.inputs + "/tzdata2099a.tar.gz",
        p.inputs + "/icu-2099a"},
       empty_tz,
       zones_installed},
      {"zic + cp -a",
       {p.sh, "-c", zic_and_copy},
       empty_tz,
       [] {
         return stdfs::is_regular_file(std::string(installed) +
                                       "/Europe/Paris");
       }},
  };
}

}  // namespace

double measure_tzdata_install(const install_programs& p) {
  make_system_dataset(p);
  if (unsetenv("TMPDIR") != 0) throw std::runtime_error("unsetenv TMPDIR");
  const std::vector<candidate> candidates = install_candidates(p);
  const std::vector<sample> s = run_interleaved(candidates, install_budget);
  empty_tz();
  std::printf("\n%-46s %6s %12s %8s %11s\n",
              ("TZDATA INSTALL, whole release " + p.system_version).c_str(),
              "runs", "median wall", "vs zic", "peak RSS");
  const double zic_ms = s[1].median_ms();
  for (std::size_t i = 0; i < s.size(); ++i)
    std::printf("%-46s %6zu %9.3f ms %7.2fx %8ld kB\n",
                candidates[i].label.c_str(), s[i].runs.size(), s[i].median_ms(),
                s[i].median_ms() / zic_ms, s[i].median_peak_rss_kb());
  return s[0].median_ms() / zic_ms;
}
