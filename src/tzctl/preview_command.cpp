// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/preview_command.h"

#include <err.h>  // warn
#include <errno.h>
#include <sys/mman.h>  // memfd_create
#include <sys/wait.h>  // waitpid, W*
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tzctl/exit_status.h"
#include "tzctl/private_view.h"
#include "tzctl/tree_snapshot.h"

namespace {

constexpr char boot_tool_name[] = "mira-tzlink";
constexpr char installed_boot_tool[] = "/usr/sbin/mira-tzlink";

// The boot tool installed beside this program, as in a build tree or
// wherever the package put both; else where the package puts it.
std::string boot_tool() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) {
    const auto beside = self.parent_path() / boot_tool_name;
    if (access(beside.c_str(), X_OK) == 0) return beside;
  }
  return installed_boot_tool;
}

struct boot_run {
  std::string lines;  // what it wrote on standard error
  int status = 0;     // wait(2)'s
};

std::string read_all(int fd) {
  std::string text;
  char buffer[4096];
  (void)lseek(fd, 0, SEEK_SET);
  for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, n);
  return text;
}

boot_run run_boot(const std::string& tool) {
  const int lines = memfd_create("boot-lines", MFD_CLOEXEC);
  std::fflush(stdout);
  const pid_t pid = fork();
  if (pid == 0) {
    (void)dup2(lines, 2);
    execl(tool.c_str(), tool.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  boot_run run;
  (void)waitpid(pid, &run.status, 0);
  run.lines = read_all(lines);
  (void)close(lines);
  return run;
}

// Each line indented under its heading; a heading alone when none.
void print_section(const char* heading, const char* nothing,
                   const std::vector<std::string>& lines) {
  std::printf("%s\n", lines.empty() ? nothing : heading);
  for (const std::string& line : lines) std::printf("  %s\n", line.c_str());
}

std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

void print_outcome(int status) {
  if (WIFEXITED(status)) {
    std::printf("It would exit with status %d.\n", WEXITSTATUS(status));
  } else {
    std::printf("It would be killed by signal %d.\n", WTERMSIG(status));
  }
}

}  // namespace

int preview_command() {
  const std::string tool = boot_tool();
  if (access(tool.c_str(), X_OK) != 0) {
    warn("Cannot run %s", tool.c_str());
    return exit_status::cannot_run;
  }
  try {
    enter_private_view();
    const tree_snapshot before = take_snapshot();
    const boot_run run = run_boot(tool);
    const std::vector<std::string> changed = changes(before, take_snapshot());
    print_section("The next boot would write:",
                  "The next boot would write no line.", split_lines(run.lines));
    print_section("The next boot would change:",
                  "The next boot would change nothing.", changed);
    print_outcome(run.status);
    return 0;
  } catch (int) {  // the view has written its line
    return exit_status::cannot_run;
  } catch (const std::filesystem::filesystem_error& failure) {
    errno = failure.code().value();
    warn("Cannot compare %s before and after", failure.path1().c_str());
    return exit_status::cannot_run;
  }
}
