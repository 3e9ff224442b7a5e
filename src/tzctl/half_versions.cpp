// Tested by tests/scenarios/tzctl_status.scn and tzctl_install.scn.
#include "tzctl/half_versions.h"

#include "dataset/mira_zoneinfo.h"
#include "fs/read_first_word.h"
#include "tzctl/icu_resource.h"

half_versions read_half_versions(const std::string& dataset_path) {
  if (dataset_path.empty())
    return {fs::read_first_word(std::string(mira_zoneinfo::system_directory) +
                                "/+VERSION"),
            icu_tz_version("")};
  return {fs::read_first_word(dataset_path + "/zoneinfo/+VERSION"),
          icu_tz_version(dataset_path + "/icutz")};
}
