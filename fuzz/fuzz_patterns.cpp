// Holds each hand-written matcher to the regular expression it stands for:
// on the same bytes, the same verdict and the same groups, with errno left
// as it was.
#include <errno.h>

#include <cstddef>
#include <cstdint>
#include <regex>
#include <string>
#include <string_view>

#include "dataset/icu_data_file_match.h"
#include "dataset/version_string_match.h"
#include "warning_capture.h"

namespace {

const std::regex version_pattern(
    R"(([0-9]+)([a-z]+)(?:\.([0-9]+))?(?:\.([0-9]+))?)",
    std::regex::ECMAScript);
const std::regex icu_data_file_pattern(R"(icutz([0-9]+[lbe])\.dat)",
                                       std::regex::ECMAScript);

// A group the expression did not use is an empty view; a used one never is.
bool same(const std::ssub_match& group, std::string_view hand) {
  return group.matched ? group.str() == hand : hand.empty();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  errno = EDOM;
  const auto version = match_version_string(text);
  const std::string_view schema = match_icu_data_file_name(text);
  check(errno == EDOM, "a matcher changed errno");
  std::smatch m;
  check(std::regex_match(text, m, version_pattern)
            ? version && same(m[1], version->number) &&
                  same(m[2], version->letters) &&
                  same(m[3], version->second_number) &&
                  same(m[4], version->third_number)
            : !version,
        "the version string matchers differ");
  check(std::regex_match(text, m, icu_data_file_pattern) ? same(m[1], schema)
                                                         : schema.empty(),
        "the ICU data file name matchers differ");
  return 0;
}
