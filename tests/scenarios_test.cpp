// Runs every scenario of tests/scenarios/*.scn: the real binary, once, on a
// fresh /var and /usr/share holding only what the scenario gives.
//   scenario NAME      starts one; "# ..." lines before it say why it matters
//   given / stderr / then, each followed by indented lines: the state
//                      before, the expected warning lines in order, and the
//                      whole of /var/db after (harness/state.h's form)
//   readonly PATH      PATH is mounted read-only while the tool runs
//   run PROGRAM ARGS   what runs: mira-tzlink (the default, with no
//                      arguments) or mira-tzctl, with these arguments
//   stdout             like stderr: the whole standard output expected
//   exit N             the expected exit status
#include <sys/mount.h>  // mount, umount2, MS_*

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "harness/capture.h"
#include "harness/state.h"

namespace {

struct scenario {
  std::string name, file;
  std::map<std::string, std::string> sections;  // given, stderr, then
  std::vector<std::string> readonly;  // paths the run may not write under
  std::vector<std::string> command;   // empty: mira-tzlink, no arguments
  int exit_status = 0;
};

std::string trimmed(std::string line) {
  line.erase(0, line.find_first_not_of(' '));
  return line;
}

// The built binary named by PROGRAM, then the arguments as they are.
std::vector<std::string> command_of(const std::string& words) {
  std::istringstream in(words);
  std::vector<std::string> command;
  for (std::string word; in >> word;) command.push_back(word);
  if (command.empty()) ADD_FAILURE() << "run names no program";
  else if (command[0] == "mira-tzlink") command[0] = MIRA_TZLINK_BINARY;
  else if (command[0] == "mira-tzctl") command[0] = MIRA_TZCTL_BINARY;
  else ADD_FAILURE() << "unknown program " << command[0];
  return command;
}

std::vector<scenario> parse(const std::filesystem::path& file) {
  std::vector<scenario> all;
  std::ifstream in(file);
  std::string section;
  for (std::string line; std::getline(in, line);) {
    const std::string text = trimmed(line);
    if (text.empty() || line[0] == '#') continue;
    if (text.rfind("scenario ", 0) == 0) {
      all.push_back({text.substr(9), file.filename().string(), {}, {}, {}, 0});
      section.clear();
    } else if (all.empty()) {
      ADD_FAILURE() << file << ": entry before any scenario: " << line;
    } else if (text.rfind("readonly ", 0) == 0) {
      all.back().readonly.push_back(text.substr(9));
    } else if (text.rfind("run ", 0) == 0) {
      all.back().command = command_of(text.substr(4));
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

// A read-only bind mount of `path` over itself, for the length of the run.
class readonly_mount {
 public:
  explicit readonly_mount(const std::string& path) : path_(path) {
    EXPECT_EQ(mount(path_.c_str(), path_.c_str(), nullptr, MS_BIND, nullptr),
              0);
    EXPECT_EQ(mount(nullptr, path_.c_str(), nullptr,
                    MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
              0);
  }
  ~readonly_mount() { umount2(path_.c_str(), MNT_DETACH); }

 private:
  std::string path_;
};

class scenarios : public testing::TestWithParam<scenario> {};

TEST_P(scenarios, run) {
  const scenario& s = GetParam();
  SCOPED_TRACE(s.file + ": " + s.name);
  build_state(s.sections.count("given") ? s.sections.at("given") : "");
  tool_run run;
  {
    std::vector<std::unique_ptr<readonly_mount>> mounts;
    for (const auto& path : s.readonly)
      mounts.push_back(std::make_unique<readonly_mount>(path));
    run = run_tool(s.command);
  }
  EXPECT_EQ(run.signal, 0);
  EXPECT_EQ(run.exit_status, s.exit_status);
  expect_lines(s.sections.count("stderr") ? s.sections.at("stderr") : "",
               run.stderr_text);
  expect_lines(s.sections.count("stdout") ? s.sections.at("stdout") : "",
               run.stdout_text);
  EXPECT_EQ(read_state(),
            sorted_lines(s.sections.count("then") ? s.sections.at("then") : ""));
}

INSTANTIATE_TEST_SUITE_P(, scenarios, testing::ValuesIn(all_scenarios()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
