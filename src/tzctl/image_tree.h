#pragma once

// An image's root directory, and the paths setup-image reads and writes
// in it. ROOT may be any directory holding an image's /usr and /etc; "/"
// is the running system.

#include <string>

class image_tree {
 public:
  explicit image_tree(std::string root);

  // `path`, absolute on the image, as a path here.
  std::string at(const std::string& path) const;

  // The first of `directory` and the directories above it, below the
  // root, that is a link, as a path here; "" when there is none. Going
  // through such a link would change files outside the image.
  std::string first_link_along(const std::string& directory) const;

 private:
  std::string root_;  // without a trailing slash; "" for "/"
};
