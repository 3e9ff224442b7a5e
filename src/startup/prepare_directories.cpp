// Tested by tests/scenarios/startup.scn.
#include "startup/prepare_directories.h"

#include <string>

#include "dataset/mira_dataset.h"
#include "fs/operations.h"

void prepare_directories() {
  fs::set_protection_class("/var/db/timezone/");
  fs::set_protection_class(std::string(mira_dataset::update_prefix));
}
