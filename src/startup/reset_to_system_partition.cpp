// Tested by tests/scenarios/reconcile.scn and update.scn.
#include "startup/reset_to_system_partition.h"

#include "dataset/mira_dataset.h"

void reset_to_system_partition() {
  // Built afresh, not borrowed from the caller: the reset must not depend
  // on a data set that may be the reason for the reset.
  const mira_dataset system;
  system.activate_components();
}
