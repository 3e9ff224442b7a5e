// Tested by tests/scenarios/tzctl_preview.scn, tzctl_status.scn and
// tzctl_prometheus.scn.
#include "tzctl/printable_text.h"

#include <cstdio>
#include <string_view>

namespace {

// Well-formed, yet a line end or a cursor move to some terminals: C1's
// controls (U+0080 to U+009F) and U+2028, U+2029.
bool is_unicode_control(std::string_view sequence) {
  return (sequence.size() == 2 && sequence[0] == '\xc2' &&
          static_cast<unsigned char>(sequence[1]) < 0xa0) ||
         sequence == "\xe2\x80\xa8" || sequence == "\xe2\x80\xa9";
}

void escape(std::string_view bytes, std::string& out) {
  for (const unsigned char c : bytes) {
    char escaped[5];
    std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
    out += escaped;
  }
}

}  // namespace

std::string printable(const std::string& text, const std::string& also) {
  std::string out;
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char c = text[i];
    const std::size_t well_formed = utf8_sequence_length(text, i);
    const std::size_t length = well_formed == 0 ? 1 : well_formed;
    const std::string_view sequence(text.data() + i, length);
    if (c == '\n') {
      out += "\\n";
    } else if (c < 0x20 || c == 0x7f || also.find(c) != std::string::npos ||
               well_formed == 0 || is_unicode_control(sequence)) {
      escape(sequence, out);
    } else {
      out += sequence;
    }
    i += length;
  }
  return out;
}

std::size_t utf8_sequence_length(const std::string& text, std::size_t i) {
  const auto byte = [&](std::size_t k) {
    return static_cast<unsigned char>(text[k]);
  };
  const unsigned char lead = byte(i);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xc2 ? 0
                             : lead < 0xe0 ? 2
                             : lead < 0xf0 ? 3
                             : lead < 0xf5 ? 4
                                           : 0;
  if (length == 0 || i + length > text.size()) return 0;
  unsigned char low = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
  unsigned char high = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
  for (std::size_t k = 1; k < length; ++k, low = 0x80, high = 0xbf)
    if (byte(i + k) < low || byte(i + k) > high) return 0;
  return length;
}
