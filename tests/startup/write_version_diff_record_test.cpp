// What a boot writes into a record that is not a plain file cannot be seen
// from outside: here the other end of a pipe or a terminal is read back.
#include "startup/write_version_diff_record.h"

#include <fcntl.h>   // open, O_*
#include <stdlib.h>  // posix_openpt, grantpt, unlockpt, ptsname
#include <unistd.h>  // read, close

#include <string>

#include <gtest/gtest.h>

#include "harness/harness.h"

namespace {

// What can be read at once from `fd`, which is then closed.
std::string pending_bytes(int fd) {
  char buffer[64];
  const ssize_t length = read(fd, buffer, sizeof buffer);
  close(fd);
  return length > 0 ? std::string(buffer, length) : "";
}

// The record becomes a link to the regular file "kept"; returns it opened.
int regular_file() {
  build_state(
      "file /var/db/timezone/kept \"old\"\n"
      "link /var/db/timezone/TZVersionDiffRecord -> kept");
  return open("/var/db/timezone/kept", O_RDONLY);
}

// The record is a FIFO that a reader holds open; returns the reader.
int fifo_with_reader() {
  build_state("fifo /var/db/timezone/TZVersionDiffRecord");
  return open(version_diff_record, O_RDONLY | O_NONBLOCK);
}

// The record is a link to a terminal; returns its other end, or -1 where
// no terminal can be made.
int terminal() {
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK);
  if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return -1;
  const std::string device = ptsname(master);
  build_state("link /var/db/timezone/TZVersionDiffRecord -> " + device);
  // Held open, so that the other end reads what was written, not EIO.
  (void)open(device.c_str(), O_RDWR | O_NOCTTY);
  return master;
}

// clang-format off
const struct { const char* name; int (*open_other_end)(); const char* read; }
    record_cases[] = {
  {"link to a regular file", regular_file,     "2019c.1.0_2020a.1.0"},
  {"FIFO with a reader",     fifo_with_reader, ""},
  {"link to a terminal",     terminal,         ""},
};
// clang-format on

TEST(write_version_diff_record, writes_only_into_a_regular_file) {
  for (const auto& c : record_cases) {
    SCOPED_TRACE(c.name);
    clear_state();
    const int other_end = c.open_other_end();
    if (other_end < 0) GTEST_SKIP() << "no pseudo-terminal can be made here";
    expect_lines("", stderr_of([] {
                   write_version_diff_record("2019c.1.0", "2020a.1.0");
                 }));
    EXPECT_EQ(pending_bytes(other_end), c.read);
  }
}

}  // namespace
