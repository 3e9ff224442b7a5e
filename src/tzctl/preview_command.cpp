// Tested by tests/scenarios/tzctl_preview.scn and
// tests/tzctl/preview_command_test.cpp.
#include "tzctl/preview_command.h"

#include <err.h>  // warn, warnx
#include <errno.h>
#include <sys/wait.h>  // W*
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "tzctl/boot_run.h"
#include "tzctl/exit_status.h"
#include "tzctl/printable_text.h"
#include "tzctl/private_view.h"
#include "tzctl/view_changes.h"

namespace {

constexpr char boot_tool_name[] = "mira-tzlink";
constexpr char installed_boot_tool[] = "/usr/sbin/mira-tzlink";
constexpr char boot_line_start[] = "mira-tzlink: ";

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

// The boot writes a warning line as its name, the message, and the errno
// text with the line end, each in a write of its own: a line runs from a
// record that starts with the name to one that ends the line, whatever
// line ends the names inside it hold. A record after a finished line that
// does not start a new one continues it, as the errno text does after a
// message that ends in a line end.
std::vector<std::string> boot_lines(const std::vector<std::string>& records) {
  std::vector<std::string> lines;
  bool open = false;
  for (const std::string& record : records) {
    if (open || lines.empty() || !record.starts_with(boot_line_start))
      (lines.empty() ? lines.emplace_back() : lines.back()) += record;
    else
      lines.push_back(record);
    open = !record.ends_with('\n');
  }
  for (std::string& line : lines) {
    if (line.ends_with('\n')) line.pop_back();
    line = printable(line);
  }
  return lines;
}

// Only /var/db is writable in the view: a write the boot makes elsewhere,
// through a link that leads out of it, fails there and nowhere else.
bool wrote_outside(const std::vector<std::string>& lines, bool writable) {
  const std::string refused = std::string(": ") + std::strerror(EROFS);
  for (const std::string& line : lines)
    if (writable && line.ends_with(refused)) return true;
  return false;
}

// Each line indented under its heading; a heading alone when none.
void print_section(const char* heading, const char* nothing,
                   const std::vector<std::string>& lines) {
  std::printf("%s\n", lines.empty() ? nothing : heading);
  for (const std::string& line : lines) std::printf("  %s\n", line.c_str());
}

int report(const boot_run& run, const private_view& view) {
  if (WIFSIGNALED(run.status)) {
    warnx("The boot tool was killed by signal %d", WTERMSIG(run.status));
    return exit_status::cannot_run;
  }
  const std::vector<std::string> lines = boot_lines(run.records);
  print_section("The next boot would write:",
                "The next boot would write no line.", lines);
  print_section("The next boot would change:",
                "The next boot would change nothing.", view_changes(view.data));
  const std::vector<std::string> outside = view_changes(view.outside);
  if (!outside.empty())
    print_section("It would change outside /var/db, through a link:", "",
                  outside);
  if (wrote_outside(lines, !view.data.front().read_only)) {
    warnx(
        "The next boot would write outside /var/db, which a preview does "
        "not allow; what it would do after that is not shown");
    return exit_status::not_done;
  }
  std::printf("It would exit with status %d.\n", WEXITSTATUS(run.status));
  return exit_status::ok;
}

}  // namespace

int preview_command() {
  const std::string tool = boot_tool();
  if (access(tool.c_str(), X_OK) != 0) {
    warn("Cannot run %s", tool.c_str());
    return exit_status::cannot_run;
  }
  try {
    const private_view view = enter_private_view();
    return report(run_boot(tool), view);
  } catch (int) {  // the view, the run or the comparison wrote its line
    return exit_status::cannot_run;
  }
}
