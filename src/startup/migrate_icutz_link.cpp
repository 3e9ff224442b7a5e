// Tested by tests/scenarios/migration.scn and tzctl_status.scn.
#include "startup/migrate_icutz_link.h"

#include <err.h>  // warn

#include "dataset/mira_icu.h"
#include "fs/operations.h"

namespace {
constexpr const char* legacy_link = mira_icu::legacy_link_path;
constexpr const char* icutz_link = mira_icu::link_path;
}  // namespace

bool migrates_icutz_link() {
  return fs::exists(legacy_link) && !fs::exists(icutz_link);
}

void migrate_icutz_link() {
  if (migrates_icutz_link()) {
    try {
      fs::create_symlink(fs::read_symlink(legacy_link), icutz_link);
    } catch (...) {  // the fs:: operation has written its own line
      warn("Could not migrate /var/db/icutz to /var/db/timezone/icutz");
    }
  }
  // Removed even after a failed move, so no later boot retries it.
  if (fs::exists(legacy_link)) {
    try {
      fs::remove(legacy_link);
    } catch (...) {
      warn("Could not remove /var/db/icutz");
    }
  }
}
