// Tested by tests/scenarios/update.scn.
#include "startup/verify_current_dataset.h"

#include <err.h>  // warn

#include "dataset/mira_dataset.h"
#include "startup/reset_to_system_partition.h"
#include "startup/touch_cleanup_marker.h"

bool keeps_linked_dataset(const mira_dataset& system,
                          const mira_dataset& current) {
  // The version is weighed only for data the system can read at all.
  return current.compatible_with(system) && !(system > current);
}

const mira_dataset& verify_current_dataset(const mira_dataset& system,
                                           const mira_dataset& current) {
  if (keeps_linked_dataset(system, current)) return current;
  warn("Symlink points at data incompatible with installed system");
  reset_to_system_partition();
  touch_cleanup_marker();
  return system;
}
