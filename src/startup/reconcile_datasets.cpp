// Tested by tests/scenarios/reconcile.scn and update.scn.
#include "startup/reconcile_datasets.h"

#include <err.h>  // warn

#include <string>

#include "dataset/mira_dataset.h"
#include "startup/active_links.h"
#include "startup/consider_latest_update.h"
#include "startup/reset_to_system_partition.h"
#include "startup/verify_current_dataset.h"

namespace {

// A zoneinfo link that cannot be read or judged is no reason to give up:
// the system data set becomes the linked one and the boot goes on.
std::string linked_dataset_path() {
  try {
    return current_dataset_path();
  } catch (...) {  // current_dataset_path has written its own line
    warn("Invalid current symlinks; resetting to system partition");
    reset_to_system_partition();
    return {};
  }
}

}  // namespace

void reconcile_datasets() {
  try {
    const mira_dataset system;
    const std::string latest_path = read_latest_link();
    const mira_dataset current(linked_dataset_path());
    const mira_dataset& in_place = verify_current_dataset(system, current);
    consider_latest_update(system, current, in_place, latest_path);
  } catch (...) {  // last resort: whatever failed, the system data stands
    warn("Unable to locate data; resetting to system partition");
    reset_to_system_partition();
  }
}
