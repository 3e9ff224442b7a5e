// Runs every scenario of tests/scenarios/*.scn: the real binary, once, on a
// fresh /var and /usr/share holding only what the scenario gives.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "harness/capture.h"
#include "harness/state.h"

namespace {

struct scenario {
  std::string name, file;
  std::map<std::string, std::string> sections;  // given, stderr, then
  int exit_status = 0;
};

std::string trimmed(std::string line) {
  line.erase(0, line.find_first_not_of(' '));
  return line;
}

std::vector<scenario> parse(const std::filesystem::path& file) {
  std::vector<scenario> all;
  std::ifstream in(file);
  std::string section;
  for (std::string line; std::getline(in, line);) {
    const std::string text = trimmed(line);
    if (text.empty() || line[0] == '#') continue;
    if (text.rfind("scenario ", 0) == 0) {
      all.push_back({text.substr(9), file.filename().string(), {}, 0});
      section.clear();
    } else if (all.empty()) {
      ADD_FAILURE() << file << ": entry before any scenario: " << line;
    } else if (text.rfind("exit ", 0) == 0) {
      all.back().exit_status = std::stoi(text.substr(5));
    } else if (line[0] != ' ') {
      section = text;
    } else {
      all.back().sections[section] += text + "\n";
    }
  }
  return all;
}

std::vector<scenario> all_scenarios() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry :
       std::filesystem::directory_iterator(MIRA_TZLINK_SCENARIOS))
    if (entry.path().extension() == ".scn") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  std::vector<scenario> all;
  for (const auto& file : files)
    for (auto& s : parse(file)) all.push_back(std::move(s));
  return all;
}

// The expected state in read_state's order.
std::string sorted_lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  std::string out;
  for (const auto& line : lines) out += line + "\n";
  return out;
}

// Names the file in test listings instead of dumping the object's bytes.
void PrintTo(const scenario& s, std::ostream* out) { *out << s.file; }

class scenarios : public testing::TestWithParam<scenario> {};

TEST_P(scenarios, run) {
  const scenario& s = GetParam();
  SCOPED_TRACE(s.file + ": " + s.name);
  build_state(s.sections.count("given") ? s.sections.at("given") : "");
  const tool_run run = run_tool();
  EXPECT_EQ(run.signal, 0);
  EXPECT_EQ(run.exit_status, s.exit_status);
  expect_lines(s.sections.count("stderr") ? s.sections.at("stderr") : "",
               run.stderr_text);
  EXPECT_EQ(read_state(),
            sorted_lines(s.sections.count("then") ? s.sections.at("then") : ""));
}

INSTANTIATE_TEST_SUITE_P(, scenarios, testing::ValuesIn(all_scenarios()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
