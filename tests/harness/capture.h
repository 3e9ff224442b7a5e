#pragma once

// Running code and the binary with their standard error captured, and
// comparing warning lines whole.

#include <functional>
#include <string>
#include <vector>

// What `action` writes on standard error (fd 2) while it runs.
std::string stderr_of(const std::function<void()>& action);

// Expects `actual` to hold exactly the lines of `expected`, in order. An
// expected line ending in ": *" accepts any errno text after that ": ".
void expect_lines(const std::string& expected, const std::string& actual);

struct tool_run {
  std::string stderr_text;
  std::string stdout_text;
  int exit_status;  // -1 when the process died by a signal
  int signal;       // the signal that ended it, 0 otherwise
};

// Runs `command` once: a program's path and its arguments; by default the
// built mira-tzlink with no arguments.
tool_run run_tool(const std::vector<std::string>& command = {});
