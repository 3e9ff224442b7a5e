// Tested by tests/scenarios/tzctl_setup_image.scn and
// tests/scenarios/tzctl_prometheus.scn.
#include "tzctl/plain_files.h"

#include <err.h>       // warn
#include <errno.h>     // ENOENT, EINVAL, ENOTEMPTY, EEXIST
#include <fcntl.h>     // open, O_*
#include <limits.h>    // PATH_MAX
#include <stdio.h>     // rename
#include <sys/stat.h>  // lstat, mkdir, S_IS*
#include <unistd.h>    // read, write, fsync, close, unlink, symlink, readlink

namespace plain_files {

namespace {

// The new entry's name: beside the old, the same for every run so that
// one cut short is simply replaced by the next, and with a suffix no
// reader takes for its own (node_exporter reads *.prom, systemd *.conf).
std::string new_name(const std::string& path) {
  return path + ".mira-tzctl-new";
}

[[noreturn]] void fail() { throw errno; }

void write_all(int fd, const std::string& content, const std::string& path) {
  for (std::size_t done = 0; done < content.size();) {
    const ssize_t n = ::write(fd, content.data() + done, content.size() - done);
    if (n < 0) {
      warn("Cannot write %s", path.c_str());
      const int error = errno;
      close(fd);
      throw error;
    }
    done += static_cast<std::size_t>(n);
  }
}

}  // namespace

kind kind_of(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return kind::none;
    warn("Cannot read %s", path.c_str());
    fail();
  }
  if (S_ISDIR(status.st_mode)) return kind::directory;
  return S_ISLNK(status.st_mode) ? kind::link : kind::other;
}

// O_NONBLOCK only keeps open from waiting for a FIFO's writer; a regular
// file reads the same with it.
int open_regular(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  struct stat status;
  if (fd < 0 || fstat(fd, &status) != 0 || S_ISREG(status.st_mode) ||
      S_ISDIR(status.st_mode))
    return fd;
  close(fd);
  errno = EINVAL;
  return -1;
}

std::optional<std::string> read_file(const std::string& path) {
  const int fd = open_regular(path);
  if (fd < 0 && errno == ENOENT) return std::nullopt;
  std::string content;
  char buffer[8192];
  ssize_t n = fd < 0 ? -1 : 0;
  while (fd >= 0 && (n = ::read(fd, buffer, sizeof buffer)) > 0)
    content.append(buffer, static_cast<std::size_t>(n));
  if (n < 0) {
    if (errno == EINVAL)
      warnx("Cannot read %s: not a regular file", path.c_str());
    else
      warn("Cannot read %s", path.c_str());
    const int error = errno;
    if (fd >= 0) close(fd);
    throw error;
  }
  close(fd);
  return content;
}

std::string read_start(const std::string& path, std::size_t bytes) {
  const int fd = open_regular(path);
  if (fd < 0) return "";
  std::string start(bytes, '\0');
  std::size_t got = 0;
  while (got < bytes) {
    const ssize_t n = ::read(fd, start.data() + got, bytes - got);
    if (n <= 0) break;
    got += static_cast<std::size_t>(n);
  }
  close(fd);
  start.resize(got);
  return start;
}

std::optional<std::string> read_link(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t n = readlink(path.c_str(), target, sizeof target);
  if (n >= 0) return std::string(target, static_cast<std::size_t>(n));
  if (errno == ENOENT || errno == EINVAL) return std::nullopt;
  warn("Cannot read %s", path.c_str());
  fail();
}

void write_file(const std::string& path, const std::string& content,
                unsigned mode) {
  const std::string fresh = new_name(path);
  // Whatever is at the fresh name goes first: a link there, left by
  // anyone, would have the content written wherever it leads.
  remove_file(fresh);
  const int fd = open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                      static_cast<mode_t>(mode));
  if (fd < 0) {
    warn("Cannot create %s", fresh.c_str());
    fail();
  }
  write_all(fd, content, fresh);
  // The umask has no say: the file is as readable as the caller asked.
  if (fchmod(fd, static_cast<mode_t>(mode)) != 0 || fsync(fd) != 0) {
    warn("Cannot write %s", fresh.c_str());
    const int error = errno;
    close(fd);
    throw error;
  }
  close(fd);
  move(fresh, path);
}

void write_link(const std::string& target, const std::string& path) {
  const std::string fresh = new_name(path);
  remove_file(fresh);
  if (symlink(target.c_str(), fresh.c_str()) != 0) {
    warn("Cannot create %s", fresh.c_str());
    fail();
  }
  move(fresh, path);
}

void make_directory(const std::string& path) {
  if (mkdir(path.c_str(), 0755) == 0) return;
  if (errno == EEXIST && kind_of(path) == kind::directory) return;
  warn("Cannot create %s", path.c_str());
  fail();
}

void remove_file(const std::string& path) {
  if (unlink(path.c_str()) == 0 || errno == ENOENT) return;
  warn("Cannot remove %s", path.c_str());
  fail();
}

void remove_empty_directory(const std::string& path) {
  if (rmdir(path.c_str()) == 0 || errno == ENOENT || errno == ENOTEMPTY ||
      errno == EEXIST)
    return;
  warn("Cannot remove %s", path.c_str());
  fail();
}

void move(const std::string& from, const std::string& to) {
  if (rename(from.c_str(), to.c_str()) == 0) return;
  warn("Cannot rename %s to %s", from.c_str(), to.c_str());
  fail();
}

}  // namespace plain_files
