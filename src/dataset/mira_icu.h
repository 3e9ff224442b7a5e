#pragma once

// The ICU time-zone data of a data set, and the links /var/db/timezone/icutz
// and /var/db/icutz. Its schema is the only test of compatibility between
// data sets. Construction throws nothing but std::bad_alloc: an icutz
// directory that cannot be read holds no schema. Activation throws int errno
// only when the new link cannot be made.

#include <string>

#include "dataset/mira_dataset_component.h"

class mira_icu final : public mira_dataset_component {
 public:
  // The link this component owns, and where older systems kept it.
  static constexpr char link_path[] = "/var/db/timezone/icutz";
  static constexpr char legacy_link_path[] = "/var/db/icutz";

  mira_icu();
  explicit mira_icu(const std::string& dataset_path);

  void initialize();

  bool compatible_schema(const mira_dataset_component& other) const override;
  void activate() override;

  std::string schema;  // such as 44l; empty when none was found
  std::string directory;
};
