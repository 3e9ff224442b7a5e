// Tested by tests/scenarios/update.scn.
#include "startup/write_version_diff_record.h"

#include <fstream>

void write_version_diff_record(const std::string& previous,
                               const std::string& next) {
  // A stream that failed to open ignores the insertions: the activation it
  // records stands either way.
  std::ofstream record("/var/db/timezone/TZVersionDiffRecord",
                       std::ios::out | std::ios::trunc);
  record << previous << "_" << next;
}
