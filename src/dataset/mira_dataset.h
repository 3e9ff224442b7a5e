#pragma once

// One complete set of time-zone data: the system's own (empty path) or an
// update under /var/db/timezone/tz/, with its version and two components.
// A path outside that directory throws std::invalid_argument("badpath");
// component failures pass through. A failed construction releases all.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dataset/dataset_version.h"
#include "dataset/mira_dataset_component.h"

class mira_dataset {
 public:
  // Where updates live; the rest of an update's path is its version.
  static constexpr std::string_view update_prefix = "/var/db/timezone/tz/";

  mira_dataset();  // the system data set
  explicit mira_dataset(const std::string& path);

  // Same directory, byte for byte.
  friend bool operator==(const mira_dataset& a, const mira_dataset& b) {
    return a.path == b.path;
  }
  // Newer by version.
  friend bool operator>(const mira_dataset& a, const mira_dataset& b) {
    return a.version > b.version;
  }

  // This data set's components judge the other's, position by position.
  bool compatible_with(const mira_dataset& other) const;
  // Zoneinfo link first, then ICU links; the first failure ends it.
  void activate_components() const;
  std::string version_string() const { return version_text; }

  dataset_version version;
  std::string version_text;
  std::string path;
  std::vector<std::shared_ptr<mira_dataset_component>> components;

 private:
  void create_components();
};
