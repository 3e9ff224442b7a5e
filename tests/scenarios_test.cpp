// Runs every scenario of tests/scenarios/*.scn: the real binary on a fresh
// /var and /usr/share holding only what the scenario gives.
//   scenario NAME      starts one; "# ..." lines before it say why it matters
//   given / stderr / then, each followed by indented lines: the state
//                      before, the expected warning lines in order, and the
//                      whole of /var/db after (harness/harness.h's form)
//   readonly PATH      PATH is mounted read-only while the tool runs
//   mount PATH         a fresh tmpfs is mounted at PATH before `given`
//                      is built, and unmounted once `then` is checked
//   bind PATH [FROM]   PATH (given) is bind-mounted on itself, or FROM on
//                      it, while the tool runs, as another program would
//   held PATH          the runner holds an flock on PATH (given) while
//                      the tool runs
//   class PATH VALUE   PATH's data-protection class afterwards, or "none"
//   run PROGRAM ARGS   what runs: mira-tzlink (the default, with no
//                      arguments) or mira-tzctl, with these arguments,
//                      after NAME=VALUE words for its environment;
//                      "> PATH" at the end sends standard output there
//   before PROGRAM ARGS  runs first, in order, each to exit 0 with its
//                      output unchecked: the steps that lead to the state
//                      that `run` reads
//   stdout             like stderr: the whole standard output expected
//   limit NAME VALUE   a resource limit for the runs: fsize (bytes), as
//                      (bytes of address space) or nofile (descriptors);
//                      or umask (octal)
//   exit N             the expected exit status
//   no_fork            the program can make no process, as at the
//                      process limit (which binds no process of root)
// @INPUTS@ in a run line is the directory of releases that
// harness/make_install_inputs built for this test run; a "then" line ending
// in " *" accepts any target, or any content of a file of mode 0644.
// What the first run leaves is checked; after a boot, two more boots
// follow, and the third must leave the links as the second did.
#include <fcntl.h>  // open
#include <gtest/gtest.h>
#include <sys/file.h>   // flock
#include <sys/mount.h>  // mount, umount2, MS_*
#include <sys/xattr.h>  // getxattr
#include <unistd.h>     // close

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include "harness/harness.h"

namespace {

struct scenario {
  std::string name, file;
  // given, stderr, stdout, then; and readonly, class, run and limit, one
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
      } else if (word == "no_fork") {
        all.back().sections[word] = "yes";
      } else if (word == "exit") {
        all.back().exit_status = std::stoi(rest);
      } else if (word == "readonly" || word == "class" || word == "run" ||
                 word == "before" || word == "mount" || word == "bind" ||
                 word == "held" || word == "limit") {
        all.back().sections[word] += rest + "\n";
      } else {
        section = word;
      }
    }
  }
  return all;
}

// NAME=VALUE words, then the built binary that `run` names, then its
// arguments as they are.
std::vector<std::string> command_of(const std::string& run) {
  std::istringstream in(run);
  std::vector<std::string> command;
  for (std::string word; in >> word;) command.push_back(word);
  auto program = std::find_if(command.begin(), command.end(), [](auto& w) {
    return w.find('=') == std::string::npos;
  });
  if (program == command.end()) return command;
  if (*program == "mira-tzctl")
    *program = MIRA_TZCTL_BINARY;
  else if (*program == "mira-tzlink")
    *program = MIRA_TZLINK_BINARY;
  else
    ADD_FAILURE() << "unknown program " << *program;
  return command;
}

void substitute_inputs(std::string& text) {
  const std::string inputs = MIRA_TZLINK_INSTALL_INPUTS, marker = "@INPUTS@";
  for (auto at = text.find(marker); at != std::string::npos;
       at = text.find(marker, at + inputs.size()))
    text.replace(at, marker.size(), inputs);
}

// The state, with each expected line ending in " *" matching any line
// that begins as it does: any target, or any content of a file whose mode
// is the usual 0644 (a line with another mode ends in the mode).
void expect_state(const std::vector<std::string>& then) {
  std::vector<std::string> actual = lines_of(read_state());
  std::string shown_expected, shown_actual;
  for (std::size_t i = 0; i < std::max(then.size(), actual.size()); ++i) {
    const std::string want = i < then.size() ? then[i] : "";
    std::string got = i < actual.size() ? actual[i] : "";
    if (want.ends_with(" *") && got.starts_with(want.substr(0, want.size() - 1)) &&
        (!got.starts_with("file ") || got.ends_with("\"")))
      got = want;
    shown_expected += want + "\n";
    shown_actual += got + "\n";
  }
  EXPECT_EQ(shown_actual, shown_expected);
}

std::string protection_class(const std::string& path) {
  char value[8] = {};
  if (getxattr(path.c_str(), "user.protection_class", value, 7) < 0)
    return "none";
  return value;
}

std::vector<resource_limit> limits_of(const std::string& lines) {
  std::vector<resource_limit> limits;
  for (const auto& line : lines_of(lines)) {
    std::istringstream in(line);
    std::string name, value;
    in >> name >> value;
    if (name == "fsize") limits.emplace_back(RLIMIT_FSIZE, std::stoull(value));
    else if (name == "as") limits.emplace_back(RLIMIT_AS, std::stoull(value));
    else if (name == "nofile")
      limits.emplace_back(RLIMIT_NOFILE, std::stoull(value));
    else if (name == "umask")
      limits.emplace_back(umask_setting, std::stoul(value, nullptr, 8));
    else ADD_FAILURE() << "unknown limit " << name;
  }
  return limits;
}

class scenarios : public testing::TestWithParam<scenario> {};

TEST_P(scenarios, run) {
  scenario s = GetParam();
  SCOPED_TRACE(s.file + ": " + s.name);
  const auto mounts = lines_of(s.sections["mount"]);
  for (const auto& path : mounts) {
    std::filesystem::create_directories(path);
    EXPECT_EQ(mount("tmpfs", path.c_str(), "tmpfs", 0, nullptr), 0);
  }
  build_state(s.sections["given"]);
  std::vector<int> held;
  for (const auto& path : lines_of(s.sections["held"])) {
    held.push_back(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(flock(held.back(), LOCK_EX), 0);
  }
  std::vector<std::string> binds;
  for (const auto& line : lines_of(s.sections["bind"])) {
    binds.push_back(line.substr(0, line.find(' ')));
    const std::string from = line.substr(line.rfind(' ') + 1);
    EXPECT_EQ(mount(from.c_str(), binds.back().c_str(), nullptr, MS_BIND,
                    nullptr),
              0);
  }
  const auto readonly = lines_of(s.sections["readonly"]);
  for (const auto& path : readonly) {
    EXPECT_EQ(mount(path.c_str(), path.c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_EQ(mount(nullptr, path.c_str(), nullptr,
                    MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
              0);
  }
  // Skipped when the releases it installs could not be built.
  if ((s.sections["run"] + s.sections["before"]).find("@INPUTS@") !=
      std::string::npos) {
    if (const std::string reason = missing_inputs(); !reason.empty())
      GTEST_SKIP() << reason;
    for (const char* section : {"run", "before", "stdout", "stderr"})
      substitute_inputs(s.sections[section]);
  }
  auto command = command_of(s.sections["run"]);
  std::string stdout_path;
  if (command.size() > 2 && command[command.size() - 2] == ">") {
    stdout_path = command.back();
    command.resize(command.size() - 2);
  }
  if (s.sections["run"].starts_with("mira-tzctl preview"))
    if (const std::string why = overlay_unavailable(); !why.empty())
      GTEST_SKIP() << why;
  const auto limits = limits_of(s.sections["limit"]);
  for (const auto& step : lines_of(s.sections["before"]))
    EXPECT_EQ(run_tool(command_of(step), "", true, limits).status, 0) << step;
  const tool_run run =
      run_tool(command, stdout_path, s.sections["no_fork"].empty(), limits);
  EXPECT_EQ(run.status, s.exit_status);
  for (const int fd : held) close(fd);
  for (const auto& path : readonly) umount2(path.c_str(), MNT_DETACH);
  for (const auto& path : binds) umount2(path.c_str(), MNT_DETACH);
  expect_lines(s.sections["stderr"], run.stderr_text);
  expect_lines(s.sections["stdout"], run.stdout_text);
  auto then = lines_of(s.sections["then"]);
  std::sort(then.begin(), then.end());  // as read_state sorts
  expect_state(then);
  for (const auto& path : mounts) umount2(path.c_str(), MNT_DETACH);
  for (const auto& line : lines_of(s.sections["class"]))
    EXPECT_EQ(protection_class(line.substr(0, line.find(' '))),
              line.substr(line.find(' ') + 1));
  // The third boot leaves the links as the second did. The marker is each
  // boot's own request, so it may come and go.
  if (!command.empty() && command[0] != MIRA_TZLINK_BINARY) return;
  const auto links_after_boot = [&] {
    run_tool({}, "", true, limits);
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
