// Boots in a row settle: from any state, the second run leaves the data and
// local-time links as the first did, except exactly when the first
// activated an update older than the system's data (set aside again by the
// second), and the third changes nothing.
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "fs/operations.h"
#include "harness/capture.h"
#include "harness/state.h"

namespace {

const char* const system_versions[] = {"2019c", "2021a", "", "2020a extra"};
const char* const schemas[] = {"44l", "44b", ""};
const char* const updates[] = {"2019a.1.0", "2020a.1.0", "2020b.1.0",
                               "2022a.1.0", "x"};

template <typename T, size_t n>
const T& pick(std::mt19937& random, const T (&choices)[n]) {
  return choices[random() % n];
}

std::string update_dir(const std::string& version) {
  return "/var/db/timezone/tz/" + version;
}

std::string random_state(std::mt19937& random) {
  std::string state = "dir /var/db/timezone/tz\n";
  state += "file /usr/share/zoneinfo.default/+VERSION \"" +
           std::string(pick(random, system_versions)) + "\"\n";
  state += "file /usr/share/icu/icutzformat.txt \"44l\"\n";
  for (const char* version : updates) {
    if (random() % 3 == 0) continue;
    const std::string schema = pick(random, schemas);
    state += "file " + update_dir(version) + "/zoneinfo/UTC \"\"\n";
    if (!schema.empty())
      state += "file " + update_dir(version) + "/icutz/icutz" + schema +
               ".dat \"\"\n";
  }
  const std::string some_update = update_dir(pick(random, updates));
  const std::string zoneinfo_targets[] = {
      "", "/usr/share/zoneinfo.default", some_update + "/zoneinfo",
      some_update + "/zoneinfo/", "tz/x/zoneinfo"};
  const std::string latest_targets[] = {"", some_update, some_update + "/",
                                        "../elsewhere",
                                        update_dir(pick(random, updates))};
  const std::string localtime_targets[] = {
      "", "/usr/share/zoneinfo/UTC", "/var/db/timezone/zoneinfo/UTC",
      "/usr/share/zoneinfo/Nowhere", "%s%n"};
  const std::string links[][2] = {
      {"/var/db/timezone/zoneinfo", pick(random, zoneinfo_targets)},
      {"/var/db/timezone/tz_latest", pick(random, latest_targets)},
      {"/var/db/timezone/localtime", pick(random, localtime_targets)},
      {"/var/db/timezone/icutz", random() % 2 ? "" : some_update + "/icutz"},
  };
  for (const auto& [path, target] : links)
    if (!target.empty()) state += "link " + path + " -> " + target + "\n";
  return state;
}

std::string links_after_boot() {
  const tool_run run = run_tool();
  EXPECT_EQ(run.signal, 0);
  EXPECT_EQ(run.exit_status, 0) << run.stderr_text;
  std::string links;
  for (const char* link :
       {"/var/db/timezone/zoneinfo", "/var/db/timezone/icutz",
        "/var/db/timezone/localtime"})
    links += std::string(link) + " -> " + fs::read_symlink(link) + "\n";
  return links;
}

// The update the zoneinfo link names in `links`, "" for none; the versions
// generated here order as their first five characters do.
std::string linked_update(const std::string& links) {
  const std::string prefix =
      "/var/db/timezone/zoneinfo -> /var/db/timezone/tz/";
  if (links.rfind(prefix, 0) != 0) return "";
  return links.substr(prefix.size(),
                      links.find('/', prefix.size()) - prefix.size());
}

TEST(boots_in_a_row, settle) {
  std::mt19937 random(20261123);
  for (int i = 0; i < 150; ++i) {
    const std::string state = random_state(random);
    SCOPED_TRACE(state);
    clear_state();
    build_state(state);
    std::string system_version;  // its first word, as the tool reads it
    std::ifstream("/usr/share/zoneinfo.default/+VERSION") >> system_version;
    const std::string first = links_after_boot();
    const std::string second = links_after_boot();
    const std::string third = links_after_boot();
    EXPECT_EQ(third, second);
    // The one allowed change: the first boot activated an update older
    // than the system's data, which the second sets aside.
    const std::string update = linked_update(first);
    const bool older_than_system =
        !update.empty() && update.substr(0, 5) < system_version;
    EXPECT_EQ(second != first, older_than_system) << first << second;
  }
}

}  // namespace
