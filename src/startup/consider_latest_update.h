#pragma once

// Activates the update /var/db/timezone/tz_latest names when the system
// can read it and it is newer than the data set the zoneinfo link named at
// boot; records the change and leaves the clean-up marker when an update
// is replaced. Throws what building or activating that update throws.

#include <string>

class mira_dataset;

// Whether the boot activates `latest`: the system can read it and it is
// newer than `current`, what the zoneinfo link named at boot. Pure.
bool takes_latest_update(const mira_dataset& system,
                         const mira_dataset& current,
                         const mira_dataset& latest);

void consider_latest_update(const mira_dataset& system,
                            const mira_dataset& current,
                            const mira_dataset& in_place,
                            const std::string& latest_path);
