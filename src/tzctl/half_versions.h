#pragma once

// The release each half of a data set carries, as its readers see it: the
// zoneinfo tree's +VERSION, and the TZVersion ICU readers load for it.
// Only reported; no decision rests on it. Never writes a line and never
// throws: what cannot be read is "".

#include <string>

struct half_versions {
  std::string zoneinfo;  // first word of the tree's +VERSION
  std::string icu;       // TZVersion of its zoneinfo64.res
};

// `dataset_path` is an update's directory, or "" for the system data set,
// whose ICU half is what the system's ICU carries.
half_versions read_half_versions(const std::string& dataset_path);
