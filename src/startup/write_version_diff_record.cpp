// Tested by tests/scenarios/update.scn, unreadable_files.scn and
// tests/startup/write_version_diff_record_test.cpp.
#include "startup/write_version_diff_record.h"

#include <errno.h>
#include <fcntl.h>     // open, O_*
#include <sys/stat.h>  // fstat, S_ISREG
#include <unistd.h>    // write, close

namespace {

// write(2) until all of `text` is out; a failure ends it silently.
void write_all(int fd, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t length = write(fd, text.data() + done, text.size() - done);
    if (length <= 0) return;
    done += static_cast<std::size_t>(length);
  }
}

bool is_regular_file(int fd) {
  struct stat status;
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

void write_version_diff_record(const std::string& previous,
                               const std::string& next) {
  // Emptied if it exists, else created with 0666 less the umask. A record
  // that cannot be opened or written is passed over: the activation it
  // records stands either way. Non-blocking, so that a FIFO with no reader
  // fails at once; only a regular file is written (a link to one is
  // followed), never a FIFO or a device, which O_TRUNC leaves alone.
  const int fd = open(
      version_diff_record,
      O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
  if (fd == -1) return;
  // In one write(2): a kill never leaves the first version alone in it.
  if (is_regular_file(fd)) write_all(fd, previous + "_" + next);
  (void)close(fd);
}
