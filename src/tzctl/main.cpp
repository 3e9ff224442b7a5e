// Tested by tests/scenarios/tzctl_*.scn.
#include <cstdio>
#include <string_view>

#include "tzctl/clean_command.h"
#include "tzctl/preview_command.h"
#include "tzctl/status_command.h"

namespace {

constexpr char usage[] =
    "usage: mira-tzctl status [--json] | preview | clean [--dry-run]\n";
constexpr char summary[] =
    "  status     which time-zone data is in use, and whether the links "
    "agree\n"
    "  preview    what the next boot would write and change, tried on a "
    "private copy\n"
    "  clean      remove the update directories that no link names\n"
    "See mira-tzctl(8).\n";

}  // namespace

int main(int argc, char** argv) {
  const std::string_view command = argc > 1 ? argv[1] : "";
  const std::string_view option = argc > 2 ? argv[2] : "";
  if (command == "--help" || option == "--help") {
    std::printf("%s%s", usage, summary);
    return 0;
  }
  if (argc == 2 || argc == 3) {
    const bool bare = argc == 2;
    if (command == "status" && (bare || option == "--json"))
      return status_command(!bare);
    if (command == "preview" && bare) return preview_command();
    if (command == "clean" && (bare || option == "--dry-run"))
      return clean_command(!bare);
  }
  // One line, as for any command-line tool; no warning prefix.
  std::fputs(usage, stderr);
  return 2;
}
