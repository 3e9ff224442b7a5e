#pragma once

// mira-tzctl's own warn(3) family, which replaces the C library's for the
// whole program, the data set model included: every message is escaped
// with printable and written as exactly one line in one write(2), so that
// no name a message shows can break it or forge a line of its own. While
// a collector is active, the lines are held back instead.

#include <stdarg.h>

#include <string>
#include <vector>

extern "C" {
void warn(const char* format, ...) __attribute__((format(printf, 1, 2)));
void warnx(const char* format, ...) __attribute__((format(printf, 1, 2)));
__attribute__((format(printf, 1, 0))) void vwarn(const char* format,
                                                 va_list arguments);
__attribute__((format(printf, 1, 0))) void vwarnx(const char* format,
                                                  va_list arguments);
}

// While one lives, each warning line (without its line end) goes into
// `lines` instead of standard error, each distinct line once, in the
// order first written. Not nested.
class warning_collector {
 public:
  explicit warning_collector(std::vector<std::string>& lines);
  ~warning_collector();

  warning_collector(const warning_collector&) = delete;
  warning_collector& operator=(const warning_collector&) = delete;
};
