// Tested by tests/dataset/dataset_version_test.cpp.
#include "dataset/dataset_version.h"

#include <err.h>  // warn

#include <regex>
#include <stdexcept>

namespace {

// The matcher recurses once per character, so a huge +VERSION word would
// overflow the stack at boot. No real version comes near this length.
constexpr std::string::size_type longest_version = 1024;

constexpr char version_pattern[] =
    R"(([0-9]+)([a-z]+)(?:\.([0-9]+))?(?:\.([0-9]+))?)";
static_assert(sizeof version_pattern - 1 == 46);

// A dot part that took no part in the match is empty, which stoi refuses:
// that refusal is what makes the part -1. std::out_of_range passes.
std::int32_t dot_part(const std::ssub_match& group) {
  try {
    return std::stoi(group.str());
  } catch (const std::invalid_argument&) {
    return -1;
  }
}

}  // namespace

dataset_version::dataset_version(const std::string& text) { parse(text); }

void dataset_version::parse(const std::string& text) {
  const std::regex pattern(version_pattern, std::regex::ECMAScript);
  std::smatch results;
  try {
    if (text.size() > longest_version ||
        !std::regex_match(text, results, pattern) || results.size() != 5) {
      warn("Cannot parse version string %s, results.size() = %d", text.c_str(),
           static_cast<int>(results.size()));
      throw std::invalid_argument("no match");
    }
    number = std::stoi(results[1].str());
    letters = results[2].str();
  } catch (const std::invalid_argument&) {
    // Not a failure: the version stays unset, and so orders below any other.
    warn("Cannot parse version string %s", text.c_str());
    *this = dataset_version();
    return;
  }
  second_number = dot_part(results[3]);
  third_number = dot_part(results[4]);
}

bool operator>(const dataset_version& a, const dataset_version& b) {
  if (a.number != b.number) return a.number > b.number;
  if (a.letters != b.letters) return a.letters > b.letters;
  if (a.second_number != b.second_number)
    return a.second_number > b.second_number;
  return a.third_number > b.third_number;
}
