#pragma once

// Decides whether the data set the zoneinfo link names may stay: its ICU
// schema must be the system's and its version not older. If not, the links
// go back to the system data set and the clean-up marker is left. Throws
// what the reset throws.

class mira_dataset;

// Whether `current` may stay in place: the system can read it (same ICU
// schema) and it is not older than the system data set. Pure.
bool keeps_linked_dataset(const mira_dataset& system,
                          const mira_dataset& current);

// Returns the data set whose links now stand: `current` or `system`.
const mira_dataset& verify_current_dataset(const mira_dataset& system,
                                           const mira_dataset& current);
