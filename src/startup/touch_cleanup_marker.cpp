// Tested by tests/scenarios/update.scn and
// tests/startup/touch_cleanup_marker_test.cpp.
#include "startup/touch_cleanup_marker.h"

#include <err.h>    // warn
#include <fcntl.h>  // O_CREAT, O_RDWR, O_NONBLOCK, O_NOCTTY
#include <sys/stat.h>
#include <unistd.h>

#include "fs/platform.h"

namespace {
constexpr int marker_protection_class = 4;
}  // namespace

void touch_cleanup_marker() {
  // No O_TRUNC: whatever a cleaner wrote into an existing marker stays.
  // Nothing is read or written, so a terminal or modem left at its name
  // must neither hold the boot waiting for a carrier nor become the boot's
  // controlling terminal.
  const int fd = platform::open_protected(
      cleanup_marker, O_CREAT | O_RDWR | O_NONBLOCK | O_NOCTTY,
      marker_protection_class, 0666);
  bool touched = fd >= 0;
  if (touched) {
    struct stat status;
    touched = fstat(fd, &status) == 0;
    // A successful close leaves errno as fstat set it.
    touched = close(fd) == 0 && touched;
  }
  if (!touched) warn("Cannot touch file %s", cleanup_marker);
}
