// Tested by tests/scenarios/reconcile.scn and update.scn.
#include "dataset/mira_dataset.h"

#include <err.h>  // warn

#include <stdexcept>

#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"

namespace {

// Byte for byte, with at least one byte after the prefix.
bool is_update_path(const std::string& path) {
  return path.size() > mira_dataset::update_prefix.size() &&
         path.starts_with(mira_dataset::update_prefix);
}

}  // namespace

mira_dataset::mira_dataset() { create_components(); }

mira_dataset::mira_dataset(const std::string& path) : path(path) {
  create_components();
}

void mira_dataset::create_components() {
  // Built first: the system data set is named after its version word. The
  // owner releases it as a mira_zoneinfo should anything below throw.
  auto* zoneinfo = new mira_zoneinfo(path);
  const std::shared_ptr<mira_dataset_component> zoneinfo_owner(zoneinfo);
  if (path.empty()) {
    version_text = zoneinfo->get_version() + ".1.0";
  } else if (!is_update_path(path)) {
    warn("mira_dataset::create_components: bad path %s", path.c_str());
    throw std::invalid_argument("badpath");
  } else {
    version_text = path.substr(update_prefix.size());
  }
  version.parse(version_text);
  components.push_back(zoneinfo_owner);
  components.push_back(
      std::shared_ptr<mira_dataset_component>(new mira_icu(path)));
}

// Every data set has the same components, made in the same order.
bool mira_dataset::compatible_with(const mira_dataset& other) const {
  for (std::size_t i = 0; i < components.size(); ++i)
    if (!components[i]->compatible_schema(*other.components[i])) return false;
  return true;
}

void mira_dataset::activate_components() const {
  for (const auto& component : components) component->activate();
}
