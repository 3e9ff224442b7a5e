#pragma once

// The lock install and clean take before they change /var/db/timezone/tz,
// so that a clean never removes a data set an install is publishing. The
// lock file holds the holder's pid and command while it is held and is
// never removed: a lock file that comes and goes could be held twice.

class state_lock {
 public:
  // Waits a few seconds for the lock. Throws int: EWOULDBLOCK after a line
  // that says who holds it, or the errno of a failed open or lock after
  // its line; EINVAL after a line when the lock file is not a regular
  // file with a single name, which it would empty.
  explicit state_lock(const char* command);
  ~state_lock();  // empties the file; closing releases the lock

  state_lock(const state_lock&) = delete;
  state_lock& operator=(const state_lock&) = delete;

 private:
  int fd;
};
