#pragma once

// Leaves the data links on one consistent data set: the linked one if the
// system can use it, the newest compatible update if there is one, the
// system's own otherwise. Falls back to the system data set on every
// failure; only a failure of that last reset escapes.
void reconcile_datasets();
