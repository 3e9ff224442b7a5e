// Tested through every test that compares warning lines.
#include "harness/capture.h"

#include <sys/mman.h>  // memfd_create
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::string read_all(int fd) {
  std::string text;
  char buffer[4096];
  lseek(fd, 0, SEEK_SET);
  for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, n);
  return text;
}

std::vector<std::string> split_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    line.erase(0, line.find_first_not_of(' '));
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

bool line_matches(const std::string& expected, const std::string& actual) {
  const std::string any = ": *";
  if (expected.size() >= any.size() &&
      expected.compare(expected.size() - any.size(), any.size(), any) == 0) {
    const std::string stem = expected.substr(0, expected.size() - 1);
    return actual.rfind(stem, 0) == 0;
  }
  return expected == actual;
}

}  // namespace

std::string stderr_of(const std::function<void()>& action) {
  const int capture = memfd_create("stderr", 0);
  const int saved = dup(2);
  std::fflush(stderr);
  dup2(capture, 2);
  try {
    action();
  } catch (...) {
    dup2(saved, 2);
    close(saved);
    close(capture);
    throw;
  }
  std::fflush(stderr);
  dup2(saved, 2);
  close(saved);
  std::string text = read_all(capture);
  close(capture);
  return text;
}

void expect_lines(const std::string& expected, const std::string& actual) {
  const auto want = split_lines(expected), got = split_lines(actual);
  bool same = want.size() == got.size();
  for (size_t i = 0; same && i < want.size(); ++i)
    same = line_matches(want[i], got[i]);
  EXPECT_TRUE(same) << "expected lines:\n" << expected << "actual lines:\n"
                    << actual;
}

tool_run run_tool(const std::vector<std::string>& command) {
  std::vector<const char*> argv;
  for (const auto& word : command) argv.push_back(word.c_str());
  if (argv.empty()) argv.push_back(MIRA_TZLINK_BINARY);
  argv.push_back(nullptr);
  const int capture = memfd_create("tool-stderr", 0);
  const int output = memfd_create("tool-stdout", 0);
  const pid_t pid = fork();
  if (pid == 0) {
    dup2(capture, 2);
    dup2(output, 1);
    execv(argv[0], const_cast<char* const*>(argv.data()));
    _exit(127);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  tool_run run{read_all(capture), read_all(output), -1, 0};
  close(capture);
  close(output);
  if (WIFEXITED(status)) run.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.signal = WTERMSIG(status);
  return run;
}
