// The metrics read by a real Prometheus parser, and held to status --json
// on the same states (tests/tzctl/prometheus_matches_status.py).
#include <gtest/gtest.h>
#include <unistd.h>  // access

#include <fstream>
#include <string>

#include "harness/harness.h"

namespace {

constexpr char python[] = "/usr/bin/python3";
const std::string checker = std::string(MIRA_TZLINK_SCENARIOS) +
                            "/../tzctl/prometheus_matches_status.py";

constexpr char system_set[] =
    "file /usr/share/zoneinfo.default/+VERSION \"2019c\\n\"\n"
    "file /usr/share/zoneinfo.default/UTC \"TZif\"\n"
    "file /usr/share/icu/icutzformat.txt \"44l\\n\"\n";

// clang-format off
const char* const states[] = {
    // fresh: no links at all
    "",
    // an update waits for the boot; the marker is there
    "file /var/db/timezone/tz/2020a.1.0/icutz/icutz44l.dat \"\"\n"
    "link /var/db/timezone/zoneinfo -> /usr/share/zoneinfo.default\n"
    "link /var/db/timezone/tz_latest -> /var/db/timezone/tz/2020a.1.0\n"
    "link /var/db/timezone/localtime -> /var/db/timezone/zoneinfo/UTC\n"
    "file /var/db/timezone/needs_cleanup \"\"\n",
    // the update in use, and an older one named by tz_latest
    "file /var/db/timezone/tz/2020b.1.0/zoneinfo/UTC \"TZif\"\n"
    "file /var/db/timezone/tz/2020b.1.0/icutz/icutz44l.dat \"\"\n"
    "file /var/db/timezone/tz/2020a.1.0/icutz/icutz44l.dat \"\"\n"
    "link /var/db/timezone/zoneinfo -> /var/db/timezone/tz/2020b.1.0/zoneinfo\n"
    "link /var/db/timezone/icutz -> /var/db/timezone/tz/2020b.1.0/icutz\n"
    "link /var/db/timezone/tz_latest -> /var/db/timezone/tz/2020a.1.0\n"
    "link /var/db/timezone/localtime -> /var/db/timezone/zoneinfo/UTC\n",
    // the links split, and tz_latest a path of stray bytes
    "file /var/db/timezone/tz/2020b.1.0/zoneinfo/UTC \"TZif\"\n"
    "file /var/db/timezone/tz/2020b.1.0/icutz/icutz44l.dat \"\"\n"
    "link /var/db/timezone/zoneinfo -> /var/db/timezone/tz/2020b.1.0/zoneinfo\n"
    "link /var/db/timezone/tz_latest -> \"/opt/\\\"a\\\\\\nb\\xff\\xc3\"\n"
    "link /var/db/timezone/localtime -> /var/db/timezone/zoneinfo/UTC\n",
};
// clang-format on

TEST(status_prometheus, parses_and_matches_status) {
  if (access(python, X_OK) != 0) GTEST_SKIP() << "no " << python;
  for (const char* state : states) {
    SCOPED_TRACE(state);
    clear_state();
    build_state(std::string(system_set) + state);
    build_state("dir /var/db/out\n");
    const tool_run metrics =
        run_tool({MIRA_TZCTL_BINARY, "status", "--prometheus", "--output",
                  "/var/db/out/m.prom"});
    const tool_run status = run_tool({MIRA_TZCTL_BINARY, "status", "--json"});
    std::ofstream("/var/db/out/s.json") << status.stdout_text;
    EXPECT_EQ(metrics.status, status.status);
    const tool_run check =
        run_tool({python, checker, "/var/db/out/m.prom", "/var/db/out/s.json"});
    if (check.status == 77) GTEST_SKIP() << check.stdout_text;
    EXPECT_EQ(check.status, 0) << check.stdout_text << check.stderr_text;
  }
}

}  // namespace
