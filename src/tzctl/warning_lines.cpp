// Tested by tests/scenarios/tzctl_status.scn and tzctl_clean.scn.
#include "tzctl/warning_lines.h"

#include <errno.h>
#include <stdio.h>   // vsnprintf
#include <string.h>  // strerror
#include <unistd.h>  // write

#include <algorithm>

#include "tzctl/printable_text.h"

namespace {

constexpr char line_start[] = "mira-tzctl: ";

std::vector<std::string>* collected = nullptr;

// Checked as printf's by the compiler wherever a caller's format is.
__attribute__((format(printf, 1, 0))) std::string formatted(
    const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  char small[256];
  const int length = vsnprintf(small, sizeof small, format, arguments);
  std::string text;
  if (length < 0) {
    text = format;  // not formattable: at least say which message it was
  } else if (static_cast<size_t>(length) < sizeof small) {
    text.assign(small, length);
  } else {
    text.resize(static_cast<size_t>(length) + 1);
    vsnprintf(text.data(), text.size(), format, again);
    text.resize(length);
  }
  va_end(again);
  return text;
}

// Standard error may be a pipe read line by line: one write keeps a line
// whole however many processes share it.
void write_line(const std::string& line) {
  size_t done = 0;
  while (done < line.size()) {
    const ssize_t n =
        write(STDERR_FILENO, line.data() + done, line.size() - done);
    if (n <= 0) return;  // nowhere left to say it
    done += static_cast<size_t>(n);
  }
}

__attribute__((format(printf, 1, 0))) void emit(const char* format,
                                                 va_list arguments,
                                                 const int* error) {
  const int saved = errno;
  std::string line = line_start + printable(formatted(format, arguments));
  if (error) line += std::string(": ") + strerror(*error);
  if (collected) {
    if (std::find(collected->begin(), collected->end(), line) ==
        collected->end())
      collected->push_back(std::move(line));
  } else {
    write_line(line + "\n");
  }
  errno = saved;
}

}  // namespace

extern "C" {

void vwarn(const char* format, va_list arguments) {
  const int error = errno;
  emit(format, arguments, &error);
}

void vwarnx(const char* format, va_list arguments) {
  emit(format, arguments, nullptr);
}

void warn(const char* format, ...) {
  const int error = errno;
  va_list arguments;
  va_start(arguments, format);
  emit(format, arguments, &error);
  va_end(arguments);
}

void warnx(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vwarnx(format, arguments);
  va_end(arguments);
}

}  // extern "C"

warning_collector::warning_collector(std::vector<std::string>& lines) {
  collected = &lines;
}

warning_collector::~warning_collector() { collected = nullptr; }
