// Tested by tests/scenarios/tzctl_setup_image.scn.
#include "tzctl/image_tree.h"

#include <utility>

image_tree::image_tree(std::string root) : root_(std::move(root)) {
  while (!root_.empty() && root_.back() == '/') root_.pop_back();
}

std::string image_tree::at(const std::string& path) const {
  return root_ + path;
}
