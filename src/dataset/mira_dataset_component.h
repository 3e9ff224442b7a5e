#pragma once

// One of the two parts of a data set: the zoneinfo tree or the ICU data.
// Components are owned through shared pointers made from the concrete
// class, which is why the destructor need not be virtual (and is protected,
// so nothing deletes one through this base).

#include <string>
#include <utility>  // std::move

class mira_dataset_component {
 public:
  mira_dataset_component() = default;
  explicit mira_dataset_component(std::string dataset_path)
      : dataset_path(std::move(dataset_path)) {}

  // Whether this component may be used with `other`, the component at the
  // same position of another data set.
  virtual bool compatible_schema(const mira_dataset_component& other) const = 0;
  // Points this component's fixed link at its data; throws int errno.
  virtual void activate() = 0;

  // Empty for the system data set, else the update's directory.
  const std::string dataset_path;

 protected:
  ~mira_dataset_component() = default;
};
