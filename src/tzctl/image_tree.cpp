// Tested by tests/scenarios/tzctl_setup_image.scn.
#include "tzctl/image_tree.h"

#include <sys/stat.h>

#include <utility>

image_tree::image_tree(std::string root) : root_(std::move(root)) {
  while (!root_.empty() && root_.back() == '/') root_.pop_back();
}

std::string image_tree::at(const std::string& path) const {
  return root_ + path;
}

std::string image_tree::first_link_along(const std::string& directory) const {
  for (std::size_t end = directory.find('/', 1);;
       end = directory.find('/', end + 1)) {
    const std::string path = at(directory.substr(0, end));
    struct stat status;
    if (lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode))
      return path;
    if (end == std::string::npos) return "";
  }
}
