// Used by both fuzz targets.
#include "warning_capture.h"

#include <errno.h>  // program_invocation_short_name
#include <stdio.h>  // open_memstream

#include <cstdlib>
#include <cstring>

namespace {
// libFuzzer took its own copy of the stream pointer before main, so only
// warn(3), which writes to whatever `stderr` holds, goes to memory.
FILE* real_stderr = nullptr;
char* buffer = nullptr;
size_t length = 0;
constexpr int errno_marker = EDOM;
}  // namespace

void capture_warnings() {
  real_stderr = stderr;
  stderr = open_memstream(&buffer, &length);
  if (stderr == nullptr) {
    stderr = real_stderr;
    fail("open_memstream failed");
  }
}

void start_capture() {
  fseek(stderr, 0, SEEK_SET);
  errno = errno_marker;
}

std::string captured_warnings() {
  fflush(stderr);  // sets length to the position: what this run wrote
  return std::string(buffer, length);
}

std::string warning_line(const std::string& message) {
  return std::string(program_invocation_short_name) + ": " + message + ": " +
         strerror(errno_marker) + "\n";
}

void fail(const char* property) {
  fprintf(real_stderr ? real_stderr : stderr, "broken property: %s\n",
          property);
  abort();
}
