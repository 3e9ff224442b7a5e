#pragma once

// Activates the update /var/db/timezone/tz_latest names when the system
// can read it and it is newer than the data set the zoneinfo link named at
// boot; records the change and leaves the clean-up marker when an update
// is replaced. Throws what building or activating that update throws.

#include <string>

class mira_dataset;

void consider_latest_update(const mira_dataset& system,
                            const mira_dataset& current,
                            const mira_dataset& in_place,
                            const std::string& latest_path);
