// Tested by tests/tzctl/tzdata_makefile_test.cpp.
#include "tzctl/tzdata_makefile.h"

#include <map>
#include <sstream>

namespace {

using variables = std::map<std::string, std::string>;

// Joins continued lines, so that each assignment is one line.
std::vector<std::string> logical_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string pending;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\\') {
      pending += line.substr(0, line.size() - 1) + " ";
      continue;
    }
    lines.push_back(pending + line);
    pending.clear();
  }
  if (!pending.empty()) lines.push_back(pending);
  return lines;
}

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// NAME= value, NAME = value and NAME:= value; rules and the rest are not
// assignments a release's data list uses.
variables assignments(const std::string& text) {
  variables found;
  for (const std::string& line : logical_lines(text)) {
    const auto equals = line.find('=');
    if (line.empty() || line[0] == '\t' || line[0] == '#' ||
        equals == std::string::npos)
      continue;
    std::string name = trimmed(line.substr(0, equals));
    if (!name.empty() && name.back() == ':')
      name = trimmed(name.substr(0, name.size() - 1));
    if (name.find_first_of(" \t$") != std::string::npos) continue;
    found[name] = line.substr(equals + 1);
  }
  return found;
}

// $(NAME) by NAME's value, to a bounded depth: a loop expands to nothing.
std::string expand(const std::string& text, const variables& known,
                   int depth = 0) {
  if (depth > 16) return {};
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto close = text.find(')', i);
    if (text.compare(i, 2, "$(") != 0 || close == std::string::npos) {
      out += text[i];
      continue;
    }
    const auto value = known.find(text.substr(i + 2, close - i - 2));
    if (value != known.end()) out += expand(value->second, known, depth + 1);
    i = close;
  }
  return out;
}

}  // namespace

std::vector<std::string> compiled_source_files(
    const std::string& makefile_text) {
  const variables known = assignments(makefile_text);
  const auto tdata = known.find("TDATA");
  if (tdata == known.end()) return {};
  std::istringstream words(expand(tdata->second, known));
  std::vector<std::string> files;
  for (std::string word; words >> word;) files.push_back(word);
  return files;
}
