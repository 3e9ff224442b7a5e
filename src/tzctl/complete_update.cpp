// Tested by tests/scenarios/tzctl_clean.scn and tzctl_status.scn.
#include "tzctl/complete_update.h"

#include <sys/stat.h>  // S_IFDIR

#include <stdexcept>  // std::invalid_argument, std::out_of_range

#include "dataset/mira_dataset.h"
#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"
#include "tzctl/entry_type.h"

namespace {

// Why no boot takes `latest`, a set the boot can build; "" when one may.
std::string why_not_taken(const mira_dataset& system,
                          const mira_dataset& latest) {
  // An incomplete update is activated all the same, and readers then
  // find no data: no boot takes it as an update readers can use.
  const missing_trees missing = missing_trees_of(latest);
  if (missing.zoneinfo) return "it has no zoneinfo tree";
  if (missing.icutz) return "it has no icutz directory";
  if (!latest.compatible_with(system))
    return "its ICU data is not of the system's schema";
  if (!(latest > system)) return "it is not newer than the system data set";
  return "";
}

}  // namespace

missing_trees missing_trees_of(const mira_dataset& set) {
  missing_trees missing;
  for (const auto& component : set.components) {
    const auto* part = component.get();
    if (const auto* zoneinfo = dynamic_cast<const mira_zoneinfo*>(part))
      missing.zoneinfo = !has_type(zoneinfo->directory, S_IFDIR, true);
    else if (const auto* icu = dynamic_cast<const mira_icu*>(part))
      missing.icutz = !has_type(icu->directory, S_IFDIR, true);
  }
  return missing;
}

std::string why_no_boot_takes(const std::string& latest_target) {
  // Built outside the catches: what they say is about tz_latest's set.
  const mira_dataset system;
  try {
    return why_not_taken(system, mira_dataset(latest_target));
  } catch (const std::invalid_argument&) {  // the model has said why
    return "it is not an update's path";
  } catch (const std::out_of_range&) {  // the boot resets every link then
    return "its version is beyond 32 bits";
  }
}
