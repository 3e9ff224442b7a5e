// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/boot_run.h"

#include <err.h>  // warn
#include <errno.h>
#include <spawn.h>     // posix_spawn, posix_spawn_file_actions_*
#include <sys/mman.h>  // memfd_create
#include <sys/wait.h>  // waitpid
#include <unistd.h>

#include <cstdio>

extern char** environ;

namespace {

[[noreturn]] void fail_to_start(int error) {
  errno = error;
  warn("Cannot start the boot tool");
  throw error;
}

std::string read_all(int fd) {
  std::string text;
  char buffer[4096];
  (void)lseek(fd, 0, SEEK_SET);
  for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, n);
  return text;
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

}  // namespace

boot_run run_boot(const std::string& tool) {
  const int lines = memfd_create("boot-lines", MFD_CLOEXEC);
  if (lines == -1) fail_to_start(errno);
  std::fflush(stdout);
  boot_run run;
  try {
    const pid_t pid = spawn(tool, lines);
    while (waitpid(pid, &run.status, 0) == -1)
      if (errno != EINTR) fail_to_start(errno);
  } catch (int) {
    (void)close(lines);
    throw;
  }
  run.lines = read_all(lines);
  (void)close(lines);
  return run;
}
