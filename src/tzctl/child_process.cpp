// Tested by tests/scenarios/tzctl_install.scn.
#include "tzctl/child_process.h"

#include <errno.h>
#include <fcntl.h>  // O_RDONLY, O_WRONLY
#include <spawn.h>
#include <stdlib.h>    // getenv
#include <sys/wait.h>  // waitpid, WIFEXITED
#include <unistd.h>    // access, X_OK

#include <sstream>

extern char** environ;

namespace {

// Not every PATH holds the system directories: an operator's sudo may
// leave /usr/sbin out, and a sandbox may hand over a bare one.
constexpr char system_directories[] = ":/usr/sbin:/sbin:/usr/bin:/bin";

int wait_for(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) < 0) return -1;
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  return 128 + WTERMSIG(status);
}

}  // namespace

std::string find_program(const std::string& name) {
  const char* path = getenv("PATH");
  std::istringstream directories(std::string(path ? path : "") +
                                 system_directories);
  for (std::string directory; std::getline(directories, directory, ':');) {
    if (directory.empty()) continue;
    const std::string candidate = directory + "/" + name;
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return {};
}

int run_program(const std::vector<std::string>& argv) {
  std::vector<char*> words;
  for (const std::string& word : argv) words.push_back((char*)word.c_str());
  words.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  pid_t child = 0;
  const int error =
      posix_spawn(&child, words[0], &actions, nullptr, words.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) {
    errno = error;
    return -1;
  }
  return wait_for(child);
}
