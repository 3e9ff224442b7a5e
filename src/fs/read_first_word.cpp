// Tested by tests/scenarios/long_words.scn and icu_schema.scn.
#include "fs/read_first_word.h"

#include <errno.h>
#include <fcntl.h>   // open, O_RDONLY, O_CLOEXEC
#include <unistd.h>  // read, close

#include <algorithm>
#include <string_view>

namespace fs {

namespace {

constexpr size_t chunk_size = 8192;

// Whitespace as the C locale classifies it: space, \t \n \v \f \r. The
// boot never sets another locale.
bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// read(2), again when a signal cut it short: bytes read, 0 at the end of
// the file, -1 on an error.
ssize_t read_chunk(int fd, char* buffer) {
  ssize_t length;
  do {
    length = read(fd, buffer, chunk_size);
  } while (length == -1 && errno == EINTR);
  return length;
}

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

}  // namespace

std::string read_first_word(const std::string& path) {
  std::string word;
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd == -1) return word;
  char buffer[chunk_size];
  for (ssize_t length; (length = read_chunk(fd, buffer)) > 0;) {
    if (take_word(std::string_view(buffer, length), word)) break;
  }
  (void)close(fd);
  return word;
}

}  // namespace fs
