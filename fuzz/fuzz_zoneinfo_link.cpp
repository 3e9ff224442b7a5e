// Reduces arbitrary zoneinfo link targets to data-set paths and checks
// that what comes back is a data set's directory cut from the target, and
// that only targets of no data set are rejected.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "startup/active_links.h"
#include "warning_capture.h"

namespace {

constexpr std::string_view update_prefix = "/var/db/timezone/tz/";
constexpr std::string_view system_tree = "/usr/share/zoneinfo.default";

// Below the update prefix, with a '/' after at least one byte of the data
// set's directory name.
bool inside_dataset(const std::string& target) {
  return target.starts_with(update_prefix) &&
         target.find('/', update_prefix.size() + 1) != std::string::npos;
}

void check_rejection(const std::string& target, int thrown) {
  check(thrown == -1, "rejected with a value other than -1");
  check(!inside_dataset(target) && target != system_tree,
        "a target of a data set was rejected");
  // %s stops at a NUL byte, and so does the target in the line.
  check(captured_warnings() ==
            warning_line("Bad zoneinfo link " + std::string(target.c_str())),
        "a rejection did not write exactly its one line");
}

void check_dataset_path(const std::string& target, const std::string& path) {
  check(inside_dataset(target), "a target of no data set was accepted");
  check(path.size() > update_prefix.size() && path.starts_with(update_prefix),
        "the path names no directory under the update prefix");
  check(path.size() < target.size() && target.starts_with(path) &&
            target[path.size()] == '/' &&
            target.find('/', path.size() + 1) == std::string::npos,
        "the path is not the target less its last component");
  // A data set's zoneinfo link is written as path + "/zoneinfo": the next
  // boot must read the same data set back from it.
  check(dataset_path_from_link(path + "/zoneinfo") == path,
        "the data set's own zoneinfo link does not lead back to it");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  capture_warnings();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string target(reinterpret_cast<const char*>(data), size);
  std::string path;
  start_capture();
  try {
    path = dataset_path_from_link(target);
  } catch (int thrown) {
    check_rejection(target, thrown);
    return 0;
  }
  check(captured_warnings().empty(), "an accepted target wrote a line");
  if (path.empty()) {
    check(target == system_tree, "only the system tree gives the empty path");
  } else {
    check_dataset_path(target, path);
  }
  return 0;
}
