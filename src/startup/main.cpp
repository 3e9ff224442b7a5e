// Tested by tests/scenarios/startup.scn and the other scenario files.
#include <err.h>  // warn

#include <cstdio>  // ::remove, the plain removal that reports nothing

#include "startup/migrate_icutz_link.h"
#include "startup/prepare_directories.h"

namespace {

// A stage is not meant to let anything out; should one do so anyway, the
// boot still ends in order: one line, the next stage, exit status 1.
bool run_stage(void (*stage)(), const char* failure) {
  try {
    stage();
    return true;
  } catch (...) {
    warn("%s", failure);
    return false;
  }
}

constexpr char prepare_failure[] = "Could not prepare time zone directories";

}  // namespace

int main() {
  bool ok = run_stage(prepare_directories, prepare_failure);
  ok &= run_stage(migrate_icutz_link, prepare_failure);
  // The marker is rewritten only by a run that leaves data to clean up.
  (void)std::remove("/var/db/timezone/needs_cleanup");
  (void)std::remove("/var/db/icu");
  // Stages 5 and 6, the data links and the local time link, go here.
  return ok ? 0 : 1;
}
