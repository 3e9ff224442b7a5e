// Tested by tests/scenarios/tzctl_usage.scn.
#include "tzctl/command_line.h"

#include <algorithm>

namespace {

bool listed(const std::vector<std::string_view>& names, std::string_view word) {
  return std::find(names.begin(), names.end(), word) != names.end();
}

}  // namespace

std::optional<command_arguments> parse_arguments(const command_syntax& syntax,
                                                 std::span<char* const> words,
                                                 std::string& error) {
  command_arguments parsed;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string_view word = words[i];
    if (listed(syntax.flags, word)) {
      parsed.flags.emplace(word);
    } else if (listed(syntax.valued, word)) {
      if (i + 1 == words.size()) {
        error = "option " + std::string(word) + " needs a value";
        return std::nullopt;
      }
      parsed.values[std::string(word)] = words[++i];
    } else if (word.size() > 1 && word[0] == '-') {
      error = "unknown option " + std::string(word);
      return std::nullopt;
    } else {
      parsed.operands.emplace_back(word);
    }
  }
  if (parsed.operands.size() < syntax.min_operands) {
    error = "missing operand";
    return std::nullopt;
  }
  if (parsed.operands.size() > syntax.max_operands) {
    error = "unexpected operand " + parsed.operands[syntax.max_operands];
    return std::nullopt;
  }
  return parsed;
}
