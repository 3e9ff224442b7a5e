// Run by the bench test; see bench/README.md.
#include "icutz_trees.h"

#include <fcntl.h>     // open, O_CREAT
#include <sys/stat.h>  // mkdir
#include <unistd.h>    // close

#include <cerrno>
#include <cstdio>
#include <cstring>  // strerror
#include <stdexcept>

namespace {

constexpr int files_per_subdirectory = 99;

void fail(const std::string& what, const std::string& path) {
  throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

void make_directory(const std::string& path) {
  if (mkdir(path.c_str(), 0755) != 0) fail("mkdir", path);
}

// Names of the kind an ICU data directory holds, but no data file's.
std::string entry_name(int i) {
  char name[32];
  std::snprintf(name, sizeof name, "zone%06d.res", i);
  return name;
}

void make_files(const std::string& directory, int first, int count) {
  for (int i = first; i < first + count; ++i) {
    const std::string path = directory + "/" + entry_name(i);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    if (fd < 0) fail("create", path);
    close(fd);
  }
}

}  // namespace

void make_flat_tree(const std::string& directory, int entries) {
  make_directory(directory);
  make_files(directory, 0, entries);
}

void make_nested_tree(const std::string& directory, int entries) {
  make_directory(directory);
  const int per_subdirectory = files_per_subdirectory + 1;
  for (int d = 0; d < entries / per_subdirectory; ++d) {
    const std::string subdirectory = directory + "/" + entry_name(d) + ".d";
    make_directory(subdirectory);
    make_files(subdirectory, d * per_subdirectory, files_per_subdirectory);
  }
}
