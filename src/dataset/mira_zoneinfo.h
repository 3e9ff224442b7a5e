#pragma once

// The compiled zoneinfo tree of a data set, and the link
// /var/db/timezone/zoneinfo. Reading it never fails: a missing +VERSION
// gives an empty version. Activation throws int errno only when the new
// link cannot be made.

#include <string>

#include "dataset/mira_dataset_component.h"

class mira_zoneinfo final : public mira_dataset_component {
 public:
  // The link this component owns, and the system partition's tree.
  static constexpr char link_path[] = "/var/db/timezone/zoneinfo";
  static constexpr char system_directory[] = "/usr/share/zoneinfo.default";

  mira_zoneinfo();
  explicit mira_zoneinfo(const std::string& dataset_path);

  void read_version();
  const std::string& get_version() const { return version; }

  bool compatible_schema(const mira_dataset_component& other) const override;
  void activate() override;

  std::string directory;
  // First word of directory + "/+VERSION"; for an update, as much of it
  // as its first block holds.
  std::string version;
};
