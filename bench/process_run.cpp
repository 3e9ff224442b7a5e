// Run by the bench test; see bench/README.md.
#include "process_run.h"

#include <fcntl.h>         // open, O_WRONLY, O_CLOEXEC
#include <sys/resource.h>  // rusage
#include <sys/wait.h>      // wait4
#include <time.h>          // clock_gettime
#include <unistd.h>        // fork, execve, dup2

#include <stdexcept>

namespace {

// Every program sees the same few bytes of environment, so no candidate
// pays for a longer one, and none looks for locale files.
char path_variable[] = "PATH=/usr/bin:/bin";
char locale_variable[] = "LC_ALL=C";
char* const environment[] = {path_variable, locale_variable, nullptr};

int null_device() {
  static const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (fd < 0) throw std::runtime_error("cannot open /dev/null");
  return fd;
}

double now_ms() {
  timespec t{};
  clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<double>(t.tv_sec) * 1e3 +
         static_cast<double>(t.tv_nsec) / 1e6;
}

}  // namespace

process_run run_process(const std::vector<std::string>& argv) {
  std::vector<char*> args;
  args.reserve(argv.size() + 1);
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.data()));
  args.push_back(nullptr);
  const int quiet = null_device();

  // The child's ru_maxrss counts the runner's pages it holds until exec: a
  // plain fork hands over only the private ones, posix_spawn all resident.
  const double start = now_ms();
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    dup2(quiet, STDOUT_FILENO);
    dup2(quiet, STDERR_FILENO);
    execve(args[0], args.data(), environment);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  if (wait4(pid, &status, 0, &usage) != pid)
    throw std::runtime_error("wait4 failed");
  const double end = now_ms();
  return {end - start, usage.ru_maxrss, status};
}

bool exited_cleanly(const process_run& run) {
  return WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0;
}
