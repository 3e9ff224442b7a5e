// Tested by tests/scenarios/tzctl_status.scn and tzctl_install.scn.
#include "tzctl/half_versions.h"

#include <sys/stat.h>  // stat, S_ISREG

#include "dataset/mira_zoneinfo.h"
#include "fs/read_first_word.h"
#include "tzctl/icu_resource.h"

namespace {

// ICU opens what it is given and waits on a FIFO: only a regular file is
// handed to it.
bool is_regular_file(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

std::string update_icu_version(const std::string& icutz) {
  if (!is_regular_file(icutz + "/" + icu_resource_names[0])) return "";
  return icu_tz_version(icutz);
}

}  // namespace

half_versions read_half_versions(const std::string& dataset_path) {
  if (dataset_path.empty())
    return {fs::read_first_word(std::string(mira_zoneinfo::system_directory) +
                                "/+VERSION"),
            icu_tz_version("")};
  return {fs::read_first_word(dataset_path + "/zoneinfo/+VERSION"),
          update_icu_version(dataset_path + "/icutz")};
}
