// Tested by tests/scenarios/tzctl_install.scn and tzctl_setup_image.scn.
#include "tzctl/zic_source_version.h"

#include <sstream>

#include "tzctl/plain_files.h"

std::string zic_source_version(const std::string& path) {
  // The tz Makefile writes the line first; 4 KiB holds any comment block
  // before it.
  std::istringstream in(plain_files::read_start(path, 4096));
  const std::string tag = "# version ";
  for (std::string line; std::getline(in, line) && line.starts_with("#");) {
    if (!line.starts_with(tag)) continue;
    const std::string word = line.substr(tag.size());
    return word.find_first_of(" \t/") == std::string::npos ? word : "";
  }
  return "";
}
