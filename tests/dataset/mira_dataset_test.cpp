#include "dataset/mira_dataset.h"

#include <errno.h>

#include <optional>
#include <stdexcept>

#include <gtest/gtest.h>

#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"
#include "harness/capture.h"
#include "harness/state.h"

namespace {

std::string fields(const dataset_version& v) {
  return std::to_string(v.number) + " " + v.letters + " " +
         std::to_string(v.second_number) + " " + std::to_string(v.third_number);
}

// errno is 0 when construction starts, so ENOENT on a line comes from the
// +VERSION looked for before it.
const char enoent[] = ": No such file or directory\n";
std::string bad(const std::string& path) {
  return "mira-tzlink: mira_dataset::create_components: bad path " + path +
         enoent;
}
std::string unparsable(const std::string& text) {
  const std::string stem = "mira-tzlink: Cannot parse version string " + text;
  return stem + ", results.size() = 0" + enoent + stem + enoent;
}

const char tz[] = "/var/db/timezone/tz/";
const char system_files[] =
    "file /usr/share/zoneinfo.default/+VERSION \"19c\\n\"\n"
    "file /usr/share/icu/icutzformat.txt \"44l\"\n";
// With ICU data for the update rows, so that only their lines are written.
const std::string update_files =
    std::string(system_files) +
    "file /var/db/timezone/tz/19c.1.0/icutz/icutz44l.dat \"\"\n"
    "file /var/db/timezone/tz/a/b/icutz/icutz44l.dat \"\"";
const char unset[] = "-1  -1 -1";

// clang-format off
const struct { std::string path, given; const char* thrown, *version_text, *version; std::string lines; } build_cases[] = {
  {"", system_files, "", "19c.1.0", "19 c 1 0", ""},
  {"", "", "", ".1.0", unset, unparsable(".1.0")},
  {std::string(tz) + "19c.1.0", update_files, "", "19c.1.0", "19 c 1 0", ""},
  {std::string(tz) + "a/b", update_files, "", "a/b", unset, unparsable("a/b")},
  {std::string(tz) + "19c.1.0/", update_files, "", "19c.1.0/", unset, unparsable("19c.1.0/")},
  {std::string(tz) + "20a", "", "", "20a", "20 a -1 -1",
   "mira-tzlink: No ICU schema found for /var/db/timezone/tz/20a: *"},
  {std::string(tz) + "20a/", "", "", "20a/", unset, unparsable("20a/") +
   "mira-tzlink: No ICU schema found for /var/db/timezone/tz/20a/: *"},
  {tz, system_files, "badpath", "", "", bad(tz)},
  {"/var/db/timezone/tz", system_files, "badpath", "", "", bad("/var/db/timezone/tz")},
  {"tz/19c.1.0", system_files, "badpath", "", "", bad("tz/19c.1.0")},
  {"/usr/share/zoneinfo.default", system_files, "badpath", "", "",
   bad("/usr/share/zoneinfo.default")},
  {"/var/db/timezone/tzx/a", system_files, "badpath", "", "", bad("/var/db/timezone/tzx/a")},
  {std::string(tz) + "2147483648a", system_files, "out_of_range", "", "", ""},
};
// clang-format on

TEST(mira_dataset, builds_for_good_paths_only) {
  for (const auto& c : build_cases) {
    SCOPED_TRACE(c.path);
    clear_state();
    build_state(c.given);
    std::optional<mira_dataset> d;
    std::string thrown;
    expect_lines(c.lines, stderr_of([&] {
                   errno = 0;
                   try {
                     d.emplace(c.path);
                   } catch (const std::invalid_argument& e) {
                     thrown = e.what();
                   } catch (const std::out_of_range&) {
                     thrown = "out_of_range";
                   }
                 }));
    EXPECT_EQ(thrown, c.thrown);
    if (!d) continue;
    EXPECT_EQ(d->version_string(), c.version_text);
    EXPECT_EQ(fields(d->version), c.version);
    ASSERT_EQ(d->components.size(), 2u);
    const auto& zoneinfo = dynamic_cast<mira_zoneinfo&>(*d->components[0]);
    const auto& icu = dynamic_cast<mira_icu&>(*d->components[1]);
    EXPECT_EQ(zoneinfo.dataset_path + icu.dataset_path, c.path + c.path);
  }
}

TEST(mira_dataset, the_empty_path_is_the_system_data_set) {
  build_state(update_files);
  const mira_dataset a, b("");
  EXPECT_TRUE(a == b);
  EXPECT_EQ(a.version_text, b.version_text);
  std::optional<mira_dataset> u, v;  // the trailing "/" costs two lines
  stderr_of([&] {
    u.emplace(std::string(tz) + "19c.1.0"), v.emplace(u->path + "/");
  });
  EXPECT_FALSE(*u == *v);
}

TEST(mira_dataset, compatible_with_lets_this_side_judge) {
  build_state(update_files);
  build_state("file /var/db/timezone/tz/20a/icutz/icutz44b.dat \"\"");
  const mira_dataset system, l(std::string(tz) + "19c.1.0"),
      b(std::string(tz) + "20a");
  mira_dataset one = l, two_zoneinfo = l;
  one.components.pop_back();
  two_zoneinfo.components[1] = l.components[0];
  const char cast[] =
      "mira-tzlink: mira_icu::compatible_schema: could not dynamic_cast other "
      "component: Success\n";
  // clang-format off
  const struct { const mira_dataset& a, &b; bool result; const char* lines; } cases[] = {
    {system, l, true, ""}, {l, system, true, ""}, {system, b, false, ""},
    {b, b, true, ""}, {one, l, false, ""}, {l, one, false, ""}, {one, one, true, ""},
    {two_zoneinfo, l, true, ""}, {l, two_zoneinfo, false, cast},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    expect_lines(c.lines, stderr_of([&] {
                   errno = 0;
                   EXPECT_EQ(c.a.compatible_with(c.b), c.result);
                 }));
  }
}

}  // namespace
