// Tested by tests/scenarios/tzctl_clean.scn.
#include "tzctl/state_lock.h"

#include <err.h>  // warn, warnx
#include <errno.h>
#include <fcntl.h>     // open, O_*, AT_EMPTY_PATH
#include <sys/file.h>  // flock
#include <sys/stat.h>  // statx, S_ISREG
#include <unistd.h>    // getpid, pread, pwrite, ftruncate

#include <algorithm>  // std::max
#include <chrono>
#include <string>
#include <thread>

#include "tzctl/printable_text.h"
#include "tzctl/state_paths.h"

namespace {

// Long enough for an install to publish, short enough for an operator.
constexpr int attempts = 20;
constexpr std::chrono::milliseconds pause(100);

std::string holder_of(int fd) {
  char text[128] = {};
  const ssize_t length = std::max<ssize_t>(0, pread(fd, text, sizeof text, 0));
  std::string holder(text, length);
  while (!holder.empty() && holder.back() == '\n') holder.pop_back();
  // Between taking the lock and writing its name, a holder is nameless.
  return holder.empty() ? "another process" : holder;
}

bool lock_waiting(int fd) {
  for (int attempt = 0;; ++attempt) {
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK || attempt == attempts) return false;
    std::this_thread::sleep_for(pause);
  }
}

// The lock file is emptied and written: were it a second name of another
// file, a file mounted there, or not a regular file, that would empty what
// it names.
void refuse_unless_own_file(int fd) {
  struct statx status;
  if (statx(fd, "", AT_EMPTY_PATH, STATX_TYPE | STATX_NLINK, &status) != 0) {
    const int error = errno;
    warn("Cannot examine the lock %s", state_lock_path);
    close(fd);
    throw error;
  }
  if (!S_ISREG(status.stx_mode) || status.stx_nlink != 1 ||
      (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0) {
    warnx("%s is not a regular file of its own; remove it and try again",
          state_lock_path);
    close(fd);
    throw EINVAL;
  }
}

}  // namespace

state_lock::state_lock(const char* command)
    : fd(open(state_lock_path, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC,
              0644)) {
  if (fd < 0) {
    const int error = errno;
    warn("Cannot open the lock %s", state_lock_path);
    throw error;
  }
  refuse_unless_own_file(fd);
  if (!lock_waiting(fd)) {
    const int error = errno;
    if (error == EWOULDBLOCK)
      warnx("%s is held by %s; try again later", state_lock_path,
            printable(holder_of(fd)).c_str());
    else
      warn("Cannot take the lock %s", state_lock_path);
    close(fd);
    throw error;
  }
  const std::string holder =
      std::to_string(getpid()) + " mira-tzctl " + command + "\n";
  // Who holds it is a courtesy to whoever waits: failing to say is no
  // reason to give the lock up.
  if (ftruncate(fd, 0) != 0 || pwrite(fd, holder.data(), holder.size(), 0) !=
                                   static_cast<ssize_t>(holder.size()))
    warn("Cannot write the holder into %s", state_lock_path);
}

state_lock::~state_lock() {
  (void)ftruncate(fd, 0);  // a stale holder's name would only mislead
  close(fd);
}
