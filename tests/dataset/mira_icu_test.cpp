#include "dataset/mira_icu.h"

#include <errno.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include "dataset/mira_zoneinfo.h"
#include "harness/capture.h"
#include "harness/state.h"

namespace {

// The walk decides errno for this line: any text is accepted.
const char none[] = "mira-tzlink: No ICU schema found for /var/u: *\n";

// Update rows use the data set /var/u, whose ICU data is /var/u/icutz.
// clang-format off
const struct { const char* path; const char* given; const char* schema; const char* lines; } schema_cases[] = {
  {"/var/u", "file /var/u/icutz/icutz44l.dat \"\"", "44l", ""},
  {"/var/u", "file /var/u/icutz/icutz044l.dat \"\"", "044l", ""},
  {"/var/u", "file /var/u/icutz/icutz7e.dat \"\"\nfile /var/u/icutz/x \"\"", "7e", ""},
  {"/var/u", "file /var/u/icutz/icutz44l.dat.bak \"\"", "", none},
  {"/var/u", "file /var/u/icutz/xicutz44l.dat \"\"", "", none},
  {"/var/u", "file /var/u/icutz/icutz44L.dat \"\"", "", none},
  {"/var/u", "file /var/u/icutz/icutzl.dat \"\"", "", none},
  {"/var/u", "file /var/u/icutz/icutz44lb.dat \"\"", "", none},
  {"/var/u", "file /var/u/icutz/icutz44x.dat \"\"", "", none},
  {"/var/u", "file /var/u/icutz/icutz44l.dat \"\" 0640", "", none},
  {"/var/u", "file /var/u/f \"\"\nlink /var/u/icutz/icutz44l.dat -> ../f", "", none},
  {"/var/u", "dir /var/u/icutz/icutz44l.dat", "", none},
  {"/var/u", "file /var/u/icutz/sub/icutz44l.dat \"\"", "", none},
  {"/var/u", "file /var/u/icutz/icutzformat.txt \"44l\"", "", none},
  {"/var/u", "dir /var/u", "", none},
  {"/var/u", "file /var/u/data/icutz44b.dat \"\"\nlink /var/u/icutz -> data", "44b", ""},
  {"", "file /usr/share/icu/icutzformat.txt \"\\n 44l\\n\"", "44l", ""},
  {"", "file /usr/share/icu/icutzformat.txt \" \\n\"", "", ""},
  {"", "file /usr/share/icu/icutz44l.dat \"\"", "", ""},
};
// clang-format on

TEST(mira_icu, finds_the_schema) {
  for (const auto& c : schema_cases) {
    SCOPED_TRACE(std::string(c.path) + " given " + c.given);
    clear_state();
    build_state(c.given);
    expect_lines(c.lines, stderr_of([&] {
                   EXPECT_EQ(mira_icu(c.path).schema, c.schema);
                 }));
  }
}

TEST(mira_icu, the_first_match_the_walk_delivers_wins) {
  build_state(
      "file /var/u/icutz/icutz44l.dat \"\"\n"
      "file /var/u/icutz/icutz45b.dat \"\"");
  const auto first =
      std::filesystem::directory_iterator("/var/u/icutz")->path();
  EXPECT_EQ("icutz" + mira_icu("/var/u").schema + ".dat", first.filename());
}

TEST(mira_icu, compatible_schema_needs_an_icu_peer_of_equal_schema) {
  build_state(
      "file /usr/share/icu/icutzformat.txt \"44l\"\n"
      "file /var/l/icutz/icutz44l.dat \"\"\n"
      "file /var/b/icutz/icutz44b.dat \"\"");
  const mira_icu system, l("/var/l"), b("/var/b");
  std::optional<mira_icu> e;
  stderr_of([&] { e.emplace("/var/e"); });  // no schema: one line
  const mira_zoneinfo zoneinfo;
  const char cast[] =
      "mira-tzlink: mira_icu::compatible_schema: could not dynamic_cast other "
      "component: Operation not permitted\n";
  // clang-format off
  const struct { const mira_dataset_component& judge, &other; bool result; const char* lines; } cases[] = {
    {system, l, true, ""}, {l, system, true, ""}, {system, b, false, ""},
    {*e, *e, true, ""}, {*e, system, false, ""},
    {l, zoneinfo, false, cast}, {zoneinfo, b, true, ""},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    expect_lines(c.lines, stderr_of([&] {
                   errno = EPERM;
                   EXPECT_EQ(c.judge.compatible_schema(c.other), c.result);
                 }));
  }
}

}  // namespace
