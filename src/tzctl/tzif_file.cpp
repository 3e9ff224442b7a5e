// Tested by tests/tzctl/tzif_file_test.cpp.
#include "tzctl/tzif_file.h"

#include <fcntl.h>     // open, O_RDONLY, O_CLOEXEC
#include <sys/stat.h>  // fstat
#include <unistd.h>    // pread, close

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view magic = "TZif";
constexpr std::uint64_t header_size = 44;

struct header_counts {
  std::uint64_t isut, isstd, leap, time, type, chars;
};

// A file's bytes at any offset, from one read of its start where that
// holds them: zone files are a few kilobytes.
class file_bytes {
 public:
  explicit file_bytes(int fd) : fd_(fd), got_(pread(fd, start_, sizeof start_, 0)) {}

  bool read(std::uint64_t offset, void* out, std::size_t size) const {
    if (got_ >= 0 && offset + size <= std::uint64_t(got_)) {
      std::memcpy(out, start_ + offset, size);
      return true;
    }
    return pread(fd_, out, size, off_t(offset)) == ssize_t(size);
  }

  bool starts_as_tzif() const {
    return got_ >= 4 && std::string_view(start_, 4) == magic;
  }

 private:
  int fd_;
  char start_[1 << 16];
  ssize_t got_;
};

std::uint64_t big_endian_32(const unsigned char* bytes) {
  return std::uint64_t(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 |
         bytes[3];
}

// The header at `offset`, or false when it is short or not a TZif header.
bool read_header(const file_bytes& file, std::uint64_t offset, char& version,
                 header_counts& counts) {
  unsigned char header[header_size];
  if (!file.read(offset, header, header_size) ||
      std::string_view((const char*)header, 4) != magic)
    return false;
  version = char(header[4]);
  const unsigned char* c = header + 20;
  counts = {big_endian_32(c), big_endian_32(c + 4),  big_endian_32(c + 8),
            big_endian_32(c + 12), big_endian_32(c + 16), big_endian_32(c + 20)};
  return true;
}

// The data block after a header, with transition times of `time_size`.
std::uint64_t block_size(const header_counts& n, std::uint64_t time_size) {
  return n.time * time_size + n.time + n.type * 6 + n.chars +
         n.leap * (time_size + 4) + n.isstd + n.isut;
}

// The closing rule: a line end, a rule without one, a line end, then the
// end of the file.
bool is_closing_rule(const file_bytes& file, std::uint64_t offset,
                     std::uint64_t size) {
  if (size < offset + 2 || size - offset > 4096) return false;
  std::string footer(size - offset, '\0');
  if (!file.read(offset, footer.data(), footer.size())) return false;
  return footer.front() == '\n' && footer.back() == '\n' &&
         footer.find('\n', 1) == footer.size() - 1;
}

bool is_whole(const file_bytes& file, std::uint64_t size) {
  char version = 0;
  header_counts counts;
  if (!read_header(file, 0, version, counts)) return false;
  const std::uint64_t first_end = header_size + block_size(counts, 4);
  if (version == '\0') return size == first_end;
  if (!read_header(file, first_end, version, counts)) return false;
  return is_closing_rule(file, first_end + header_size + block_size(counts, 8),
                         size);
}

}  // namespace

tzif_shape tzif_shape_of(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return tzif_shape::other;
  const file_bytes file(fd);
  struct stat status;
  tzif_shape shape = tzif_shape::other;
  if (file.starts_as_tzif())
    shape = fstat(fd, &status) == 0 && is_whole(file, status.st_size)
                ? tzif_shape::whole
                : tzif_shape::cut;
  close(fd);
  return shape;
}
