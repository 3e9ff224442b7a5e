// Tested by tests/scenarios/update.scn.
#include "startup/consider_latest_update.h"

#include <err.h>  // warn

#include "dataset/mira_dataset.h"
#include "startup/touch_cleanup_marker.h"
#include "startup/write_version_diff_record.h"

bool takes_latest_update(const mira_dataset& system,
                         const mira_dataset& current,
                         const mira_dataset& latest) {
  // Weighed against what the link named at boot, even when that was just
  // set aside: an update newer than it is still progress.
  return latest.compatible_with(system) && latest > current;
}

void consider_latest_update(const mira_dataset& system,
                            const mira_dataset& current,
                            const mira_dataset& in_place,
                            const std::string& latest_path) {
  if (latest_path.empty()) return;
  const mira_dataset latest(latest_path);
  if (!takes_latest_update(system, current, latest)) {
    warn("New update not compatible or older version: %s vs. %s",
         latest.version_string().c_str(), current.version_string().c_str());
    return;
  }
  latest.activate_components();
  // Only an update that is replaced leaves a directory to clean up.
  if (!(in_place == system)) touch_cleanup_marker();
  write_version_diff_record(in_place.version_string(), latest.version_string());
}
