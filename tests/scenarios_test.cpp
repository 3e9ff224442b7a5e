// Runs every scenario of tests/scenarios/*.scn: the real binary on a fresh
// /var and /usr/share holding only what the scenario gives.
//   scenario NAME      starts one; "# ..." lines before it say why it matters
//   given / stderr / then, each followed by indented lines: the state
//                      before, the expected warning lines in order, and the
//                      whole of /var/db after (harness/harness.h's form)
//   readonly PATH      PATH is mounted read-only while the tool runs
//   class PATH VALUE   PATH's data-protection class afterwards, or "none"
//   run PROGRAM ARGS   what runs: mira-tzlink (the default, with no
//                      arguments) or mira-tzctl, with these arguments;
//                      "> PATH" at the end sends standard output there
//   stdout             like stderr: the whole standard output expected
//   exit N             the expected exit status
// What the first run leaves is checked; after a boot, two more boots
// follow, and the third must leave the links as the second did.
#include <sys/mount.h>  // mount, umount2, MS_*
#include <sys/xattr.h>  // getxattr

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "harness/harness.h"

namespace {

struct scenario {
  std::string name, file;
  // given, stderr, stdout, then; and readonly, class and run, one
  // directive a line
  std::map<std::string, std::string> sections;
  int exit_status = 0;
};

// Names the file in test listings instead of dumping the object's bytes.
void PrintTo(const scenario& s, std::ostream* out) { *out << s.file; }

std::vector<scenario> all_scenarios() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry :
       std::filesystem::directory_iterator(MIRA_TZLINK_SCENARIOS))
    if (entry.path().extension() == ".scn") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  std::vector<scenario> all;
  for (const auto& file : files) {
    std::ifstream in(file);
    std::string section;
    for (std::string line; std::getline(in, line);) {
      std::string word, rest;
      std::getline(std::istringstream(line) >> word >> std::ws, rest);
      // An indented line is data even when it starts with #.
      if (word.empty() || line[0] == '#') continue;
      if (line[0] == ' ') {
        all.back().sections[section] += line + "\n";
      } else if (word == "scenario") {
        all.push_back({rest, file.filename().string(), {}, 0});
      } else if (word == "exit") {
        all.back().exit_status = std::stoi(rest);
      } else if (word == "readonly" || word == "class" || word == "run") {
        all.back().sections[word] += rest + "\n";
      } else {
        section = word;
      }
    }
  }
  return all;
}

// The built binary that `run` names, then its arguments as they are.
std::vector<std::string> command_of(const std::string& run) {
  std::istringstream in(run);
  std::vector<std::string> command;
  for (std::string word; in >> word;) command.push_back(word);
  if (command.empty()) return command;
  if (command[0] == "mira-tzctl") command[0] = MIRA_TZCTL_BINARY;
  else if (command[0] == "mira-tzlink") command[0] = MIRA_TZLINK_BINARY;
  else ADD_FAILURE() << "unknown program " << command[0];
  return command;
}

std::string protection_class(const std::string& path) {
  char value[8] = {};
  if (getxattr(path.c_str(), "user.protection_class", value, 7) < 0)
    return "none";
  return value;
}

class scenarios : public testing::TestWithParam<scenario> {};

TEST_P(scenarios, run) {
  scenario s = GetParam();
  SCOPED_TRACE(s.file + ": " + s.name);
  build_state(s.sections["given"]);
  const auto readonly = lines_of(s.sections["readonly"]);
  for (const auto& path : readonly) {
    EXPECT_EQ(mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_EQ(mount(nullptr, path.c_str(), nullptr,
                    MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
              0);
  }
  auto command = command_of(s.sections["run"]);
  std::string stdout_path;
  if (command.size() > 2 && command[command.size() - 2] == ">") {
    stdout_path = command.back();
    command.resize(command.size() - 2);
  }
  const tool_run run = run_tool(command, stdout_path);
  EXPECT_EQ(run.status, s.exit_status);
  for (const auto& path : readonly) umount2(path.c_str(), MNT_DETACH);
  expect_lines(s.sections["stderr"], run.stderr_text);
  expect_lines(s.sections["stdout"], run.stdout_text);
  auto then = lines_of(s.sections["then"]);
  std::sort(then.begin(), then.end());  // as read_state sorts
  std::string expected;
  for (const auto& line : then) expected += line + "\n";
  EXPECT_EQ(read_state(), expected);
  for (const auto& line : lines_of(s.sections["class"]))
    EXPECT_EQ(protection_class(line.substr(0, line.find(' '))),
              line.substr(line.find(' ') + 1));
  // The third boot leaves the links as the second did. The marker is each
  // boot's own request, so it may come and go.
  if (!command.empty() && command[0] != MIRA_TZLINK_BINARY) return;
  const auto links_after_boot = [&] {
    run_tool();
    std::string links;
    for (const auto& line : lines_of(read_state()))
      if (line.starts_with("link ")) links += line + "\n";
    return links;
  };
  const std::string second = links_after_boot();
  EXPECT_EQ(links_after_boot(), second);
}

INSTANTIATE_TEST_SUITE_P(, scenarios, testing::ValuesIn(all_scenarios()),
                         [](const auto& info) { return info.param.name; });

}  // namespace
