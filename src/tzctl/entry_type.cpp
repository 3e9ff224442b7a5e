// Tested by tests/scenarios/tzctl_status.scn and tzctl_clean.scn.
#include "tzctl/entry_type.h"

#include <sys/stat.h>  // stat, lstat, S_IFMT

bool has_type(const std::string& path, mode_t type, bool follow) {
  struct stat status;
  const int result =
      follow ? stat(path.c_str(), &status) : lstat(path.c_str(), &status);
  return result == 0 && (status.st_mode & S_IFMT) == type;
}
