#pragma once

// The words after a command, checked against what that command accepts:
// its flags, the options that take a value, and how many operands. Every
// command is parsed the same way, so every one names an unknown option
// and answers -h and --help alike.

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct command_syntax {
  std::vector<std::string_view> flags;   // such as --json
  std::vector<std::string_view> valued;  // such as --output, which takes
                                         // the next word
  std::size_t min_operands = 0, max_operands = 0;
};

struct command_arguments {
  std::set<std::string, std::less<>> flags;
  std::map<std::string, std::string, std::less<>> values;
  std::vector<std::string> operands;

  bool has(std::string_view flag) const { return flags.contains(flag); }
};

// The parsed words, or none with `error` saying what is wrong in words a
// usage line can follow ("unknown option --yaml").
std::optional<command_arguments> parse_arguments(const command_syntax& syntax,
                                                 std::span<char* const> words,
                                                 std::string& error);
