// Tested by tests/scenarios/*.scn.
#include <err.h>     // warn
#include <signal.h>  // signal, SIGPIPE, SIGXFSZ

#include <cstdio>  // ::remove, the plain removal that reports nothing

#include "startup/migrate_icutz_link.h"
#include "startup/prepare_directories.h"
#include "startup/reconcile_datasets.h"
#include "startup/repair_localtime_link.h"
#include "startup/touch_cleanup_marker.h"

namespace {

constexpr char prepare_failure[] = "Could not prepare time zone directories";

// Each stage handles its own failures; should one escape anyway, the boot
// still ends in order: one line, the next stage, exit status 1.
bool run_stage(void (*stage)(), const char* failure) {
  try {
    stage();
    return true;
  } catch (...) {
    warn("%s", failure);
    return false;
  }
}

}  // namespace

int main() {
  // Standard error may be a pipe whose reader is gone; a warning line must
  // never be what ends the boot half way through a link change.
  (void)signal(SIGPIPE, SIG_IGN);
  // Under a file-size limit a write past it must fail with EFBIG, which is
  // passed over like ENOSPC, and not end the boot before the local time
  // link is repaired.
  (void)signal(SIGXFSZ, SIG_IGN);
  // No signal is caught, so no system call is ever cut short with EINTR:
  // nothing here retries one.
  bool ok = run_stage(prepare_directories, prepare_failure);
  ok &= run_stage(migrate_icutz_link, prepare_failure);
  // The marker is rewritten only by a run that leaves data to clean up.
  (void)std::remove(cleanup_marker);
  (void)std::remove("/var/db/icu");
  ok &= run_stage(reconcile_datasets, "Could not reset to system partition");
  // The local time link is repaired whatever became of the data links.
  ok &= run_stage(repair_localtime_link, "Could not repair localtime link");
  return ok ? 0 : 1;
}
