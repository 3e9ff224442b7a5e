// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/boot_run.h"

#include <err.h>  // warn
#include <errno.h>
#include <poll.h>
#include <spawn.h>       // posix_spawn, posix_spawn_file_actions_*
#include <sys/socket.h>  // socketpair, recv
#include <sys/wait.h>    // waitpid
#include <unistd.h>

#include <cstdio>

extern char** environ;

namespace {

// Larger than any record a socket's send buffer can take, so that no
// record is ever cut here.
constexpr size_t record_room = 1 << 20;
constexpr int pause_ms = 50;

[[noreturn]] void fail_to_start(int error) {
  errno = error;
  warn("Cannot start the boot tool");
  throw error;
}

// posix_spawn reports a failed fork and a failed exec alike, as its
// result, where a bare fork would leave the child to say it.
pid_t spawn(const std::string& tool, int lines) {
  posix_spawn_file_actions_t actions;
  if (const int error = posix_spawn_file_actions_init(&actions))
    fail_to_start(error);
  int error = posix_spawn_file_actions_adddup2(&actions, lines, 2);
  char* const argv[] = {const_cast<char*>(tool.c_str()), nullptr};
  pid_t pid = -1;
  if (error == 0)
    error = posix_spawn(&pid, tool.c_str(), &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) fail_to_start(error);
  return pid;
}

bool peer_closed(int fd) {
  pollfd ready{fd, POLLIN, 0};
  return poll(&ready, 1, 0) > 0 && (ready.revents & POLLHUP);
}

// Takes every record waiting. An empty write makes an empty record, which
// reads as the end does: it is the end only once the boot's end is closed.
void take_records(int fd, std::string& buffer,
                  std::vector<std::string>& records) {
  for (;;) {
    const ssize_t n = recv(fd, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (n > 0)
      records.emplace_back(buffer.data(), static_cast<size_t>(n));
    else if (n < 0 || peer_closed(fd))
      return;
  }
}

// The socket holds only so much: the boot's lines are read while it runs,
// or a long one would leave it waiting for room forever.
int read_until_exit(pid_t pid, int fd, std::vector<std::string>& records) {
  std::string buffer(record_room, '\0');
  int status = 0;
  for (bool open = true;;) {
    const pid_t done = waitpid(pid, &status, open ? WNOHANG : 0);
    if (done == pid) break;
    if (done < 0) fail_to_start(errno);
    if (!open) continue;
    pollfd ready{fd, POLLIN, 0};
    if (poll(&ready, 1, pause_ms) <= 0) continue;
    take_records(fd, buffer, records);
    // Once every copy of the boot's end is closed, nothing more comes.
    open = !(ready.revents & POLLHUP);
  }
  take_records(fd, buffer, records);  // what it wrote just before it ended
  return status;
}

}  // namespace

boot_run run_boot(const std::string& tool) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
    fail_to_start(errno);
  std::fflush(stdout);
  boot_run run;
  try {
    const pid_t pid = spawn(tool, ends[1]);
    (void)close(ends[1]);
    ends[1] = -1;
    run.status = read_until_exit(pid, ends[0], run.records);
  } catch (int) {
    (void)close(ends[0]);
    if (ends[1] != -1) (void)close(ends[1]);
    throw;
  }
  (void)close(ends[0]);
  return run;
}
