// Tested by tests/scenarios/tzctl_preview.scn and tzctl_status.scn.
#include "tzctl/printable_text.h"

#include <cstdio>

std::string printable(const std::string& text, const std::string& also) {
  std::string out;
  for (const unsigned char c : text) {
    if (c == '\n') {
      out += "\\n";
    } else if (c < 0x20 || c == 0x7f || also.find(c) != std::string::npos) {
      char escaped[5];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}
