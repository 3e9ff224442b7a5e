// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/status_warnings.h"

#include <sys/mman.h>  // memfd_create
#include <unistd.h>    // dup, dup2, close, lseek, read

#include <algorithm>
#include <cstdio>

namespace {

std::string contents_of(int fd) {
  std::string text;
  char buffer[4096];
  if (lseek(fd, 0, SEEK_SET) != 0) return text;
  for (ssize_t length; (length = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<std::size_t>(length));
  return text;
}

std::vector<std::string> distinct_lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t start = 0, end; start < text.size(); start = end + 1) {
    end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(start, end - start);
    if (std::find(lines.begin(), lines.end(), line) == lines.end())
      lines.push_back(std::move(line));
  }
  return lines;
}

}  // namespace

std::vector<std::string> warnings_of(const std::function<void()>& action) {
  const int file = memfd_create("mira-tzctl-warnings", MFD_CLOEXEC);
  const int saved = file == -1 ? -1 : dup(STDERR_FILENO);
  if (saved == -1 || dup2(file, STDERR_FILENO) == -1) {
    if (saved != -1) (void)close(saved);
    if (file != -1) (void)close(file);
    action();
    return {};
  }
  action();
  std::fflush(stderr);
  (void)dup2(saved, STDERR_FILENO);
  (void)close(saved);
  std::vector<std::string> lines = distinct_lines(contents_of(file));
  (void)close(file);
  return lines;
}
