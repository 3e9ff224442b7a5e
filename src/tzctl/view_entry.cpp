// Tested by tests/scenarios/tzctl_preview.scn and
// tests/tzctl/preview_command_test.cpp.
#include "tzctl/view_entry.h"

#include <err.h>  // warn
#include <errno.h>
#include <fcntl.h>     // openat, O_*
#include <limits.h>    // PATH_MAX
#include <sys/stat.h>  // fstatat, S_IS*
#include <unistd.h>

#include <cstring>
#include <vector>

#include "tzctl/printable_text.h"

namespace {

// Larger files are shown by their size: a change line stays a line.
constexpr off_t shown_whole = 256;
constexpr size_t block = 64 * 1024;

[[noreturn]] void fail(const std::string& path) {
  const int error = errno;
  warn("Cannot compare %s before and after", printable(path).c_str());
  throw error;
}

int open_file(int dir, const std::string& name, const std::string& path) {
  const int fd =
      openat(dir, name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (fd == -1) fail(path);
  return fd;
}

// Up to `wanted` bytes, fewer only at the end of the file.
size_t read_block(int fd, char* buffer, size_t wanted,
                  const std::string& path) {
  size_t got = 0;
  while (got < wanted) {
    const ssize_t n = read(fd, buffer + got, wanted - got);
    if (n == -1) fail(path);
    if (n == 0) break;
    got += n;
  }
  return got;
}

std::string shown_file(int dir, const std::string& name, off_t size,
                       const std::string& path) {
  if (size > shown_whole) return "file of " + std::to_string(size) + " bytes";
  const int fd = open_file(dir, name, path);
  char content[shown_whole];
  const size_t got = read_block(fd, content, sizeof content, path);
  (void)close(fd);
  return "file \"" + printable(std::string(content, got), "\"\\") + "\"";
}

std::string link_target(int dir, const std::string& name,
                        const std::string& path) {
  std::vector<char> target(PATH_MAX + 1);
  const ssize_t n = readlinkat(dir, name.c_str(), target.data(), target.size());
  if (n == -1) fail(path);
  return std::string(target.data(), n);
}

bool same_content(int a_dir, int b_dir, const std::string& name,
                  const std::string& path) {
  const int a = open_file(a_dir, name, path), b = open_file(b_dir, name, path);
  std::vector<char> a_block(block), b_block(block);
  bool same = true;
  for (size_t n = block; same && n == block;) {
    n = read_block(a, a_block.data(), block, path);
    same = read_block(b, b_block.data(), block, path) == n &&
           std::memcmp(a_block.data(), b_block.data(), n) == 0;
  }
  (void)close(a);
  (void)close(b);
  return same;
}

}  // namespace

view_entry look_at(int dir, const std::string& name, const std::string& path) {
  struct stat st {};
  if (dir == -1) return {};
  if (fstatat(dir, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
    if (errno == ENOENT) return {};
    fail(path);
  }
  if (S_ISLNK(st.st_mode))
    return {view_entry::link,
            "link to " + printable(link_target(dir, name, path)), 0};
  if (S_ISDIR(st.st_mode)) return {view_entry::directory, "directory", 0};
  if (!S_ISREG(st.st_mode)) return {view_entry::other, "other", 0};
  return {view_entry::file, shown_file(dir, name, st.st_size, path),
          st.st_size};
}

bool same_entry(const view_entry& a, int a_dir, const view_entry& b,
                int b_dir, const std::string& name, const std::string& path) {
  if (a.kind != view_entry::file || b.kind != view_entry::file)
    return a.shown == b.shown;
  return a.size == b.size && same_content(a_dir, b_dir, name, path);
}
