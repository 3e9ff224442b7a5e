// Tested by tests/scenarios/long_words.scn, icu_schema.scn and
// unreadable_files.scn.
#include "fs/read_first_word.h"

#include <errno.h>
#include <fcntl.h>     // open, O_*
#include <sys/stat.h>  // fstat, S_ISREG, S_ISDIR
#include <unistd.h>    // read, close

#include <algorithm>
#include <string_view>

namespace fs {

namespace {

constexpr size_t chunk_size = 8192;

// Whitespace as the C locale classifies it: space, \t \n \v \f \r. The
// boot never sets another locale.
bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Appends the word's bytes at the front of `chunk` to `word`; true when
// the word ended inside the chunk.
bool take_word(std::string_view chunk, std::string& word) {
  if (word.empty()) {  // still before the word: skip whitespace
    const auto start = std::find_if_not(chunk.begin(), chunk.end(), is_space);
    chunk.remove_prefix(start - chunk.begin());
  }
  const auto end = std::find_if(chunk.begin(), chunk.end(), is_space);
  word.append(chunk.begin(), end);
  return end != chunk.end();
}

// A FIFO would wait for a writer and a device may never end: only a
// regular file is read. A directory is read too, as it always was: its
// read fails with EISDIR, and later lines show that errno.
bool is_readable_kind(int fd) {
  struct stat status;
  if (fstat(fd, &status) != 0) return false;
  return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

}  // namespace

std::string read_first_word(const std::string& path, bool first_block_only) {
  std::string word;
  // Non-blocking, so that opening a FIFO with no writer returns at once;
  // a terminal opened here must not become the boot's controlling one.
  const int fd =
      open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd == -1) return word;
  if (is_readable_kind(fd)) {
    char buffer[chunk_size];
    for (ssize_t length; (length = read(fd, buffer, chunk_size)) > 0;) {
      if (take_word(std::string_view(buffer, length), word) || first_block_only)
        break;
    }
  }
  (void)close(fd);
  return word;
}

}  // namespace fs
