// Boots in a row settle: from each of 540 states, the second boot leaves the
// data and local-time links as the first did but in the two cases named
// below, and the third changes nothing.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>  // std::size
#include <string>

#include "fs/operations.h"
#include "harness/capture.h"
#include "harness/state.h"

namespace {

// Every combination of these: the system's version, the ICU schemas of two
// updates (2020a, 2020b; a third, 2022a, named but never installed), and
// what the zoneinfo and tz_latest links name.
const char* const system_versions[] = {"2019c", "2021a", ""};
const char* const schemas_2020a[] = {"44l", "44b", ""};
const char* const schemas_2020b[] = {"44l", "44b"};
const char* const zoneinfo_targets[] = {
    "",
    "/usr/share/zoneinfo.default",
    "/var/db/timezone/tz/2020a.1.0/zoneinfo",
    "/var/db/timezone/tz/2020a.1.0/zoneinfo/",
    "/var/db/timezone/tz/2022a.1.0/zoneinfo",
    "tz/x/zoneinfo"};
const char* const latest_targets[] = {
    "", "/var/db/timezone/tz/2020a.1.0", "/var/db/timezone/tz/2020b.1.0",
    "/var/db/timezone/tz/2020b.1.0/", "../elsewhere"};
// And, taking turns, the local time and ICU links.
const char* const localtime_targets[] = {"", "/usr/share/zoneinfo/UTC",
                                         "/var/db/timezone/zoneinfo/UTC",
                                         "/usr/share/zoneinfo/Nowhere", "%s%n"};
const char* const icutz_targets[] = {"", "/var/db/timezone/tz/2020b.1.0/icutz",
                                     "/elsewhere"};

template <size_t n>
const char* nth(const char* const (&choices)[n], size_t& index) {
  const char* choice = choices[index % n];
  index /= n;
  return choice;
}

size_t state_count() {
  return std::size(system_versions) * std::size(schemas_2020a) *
         std::size(schemas_2020b) * std::size(zoneinfo_targets) *
         std::size(latest_targets);
}

std::string update(const std::string& version, const std::string& schema) {
  const std::string dir = "/var/db/timezone/tz/" + version;
  std::string entries = "file " + dir + "/zoneinfo/UTC \"\"\n";
  if (!schema.empty())
    entries += "file " + dir + "/icutz/icutz" + schema + ".dat \"\"\n";
  return entries;
}

std::string nth_state(size_t index) {
  const size_t turn = index;
  std::string state = "file /usr/share/icu/icutzformat.txt \"44l\"\n";
  state += "file /usr/share/zoneinfo.default/+VERSION \"" +
           std::string(nth(system_versions, index)) + "\"\n";
  state += update("2020a.1.0", nth(schemas_2020a, index));
  state += update("2020b.1.0", nth(schemas_2020b, index));
  const std::string links[][2] = {
      {"/var/db/timezone/zoneinfo", nth(zoneinfo_targets, index)},
      {"/var/db/timezone/tz_latest", nth(latest_targets, index)},
      {"/var/db/timezone/localtime", localtime_targets[turn % 5]},
      {"/var/db/timezone/icutz", icutz_targets[turn % 3]},
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
  for (size_t i = 0; i < state_count(); ++i) {
    const std::string state = nth_state(i);
    SCOPED_TRACE(state);
    clear_state();
    build_state(state);
    std::string system_version;  // its first word, as the tool reads it
    std::ifstream("/usr/share/zoneinfo.default/+VERSION") >> system_version;
    const std::string first = links_after_boot();
    const std::string second = links_after_boot();
    const std::string third = links_after_boot();
    EXPECT_EQ(third, second);
    // Updates are weighed against the data set linked at boot, even one
    // just set aside. So the second boot changes links in two cases only:
    // it sets aside an update older than the system's data that the first
    // activated, or, after the first fell back to the system data, it
    // activates a newer update that the set-aside one had outranked.
    const std::string update = linked_update(first);
    const bool older_than_system =
        !update.empty() && update.substr(0, 5) < system_version;
    const std::string next = linked_update(second);
    const bool deferred =
        update.empty() && !next.empty() && system_version < next.substr(0, 5);
    EXPECT_EQ(second != first, older_than_system || deferred)
        << first << second;
  }
}

}  // namespace
