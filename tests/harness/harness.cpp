// Tested through every test that builds or reads a state or compares lines.
#include "harness/harness.h"

#include <errno.h>
#include <fcntl.h>      // open
#include <sched.h>      // unshare, CLONE_NEWNS
#include <sys/mount.h>  // mount, MS_*
#include <linux/filter.h>   // sock_filter, BPF_*
#include <linux/seccomp.h>  // SECCOMP_*, seccomp_data
#include <gtest/gtest.h>
#include <stdlib.h>     // setenv
#include <sys/mman.h>   // memfd_create
#include <sys/prctl.h>  // prctl
#include <sys/syscall.h>  // __NR_clone, __NR_clone3
#include <sys/stat.h>
#include <sys/wait.h>   // waitpid, WEXITSTATUS, WTERMSIG
#include <sys/xattr.h>  // setxattr
#include <unistd.h>     // symlink, fork, execv, close_range

#include <algorithm>
#include <cstddef>  // offsetof
#include <cstdio>
#include <cstring>  // strerror
#include <filesystem>
#include <fstream>
#include <sstream>

namespace stdfs = std::filesystem;

namespace {

// What a backslash and a letter stand for in a quoted field, and \xHH.
const std::string specials = "\n\t\\\"", letters = "nt\\\"";

std::string quote(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    char hex[5];
    std::snprintf(hex, sizeof hex, "\\x%02x", c);
    if (const size_t e = specials.find(char(c)); e != std::string::npos)
      out += {'\\', letters[e]};
    else
      out += c < 0x20 || c >= 0x7f ? hex : std::string(1, char(c));
  }
  return out + "\"";
}

std::string unquote(const std::string& quoted) {
  std::string out;
  for (size_t i = 1; i + 1 < quoted.size(); ++i) {
    if (quoted[i] != '\\') {
      out += quoted[i];
    } else if (quoted[++i] == 'x') {
      out += char(std::stoi(quoted.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      const size_t e = letters.find(quoted[i]);  // others stand for themselves
      out += e == std::string::npos ? quoted[i] : specials[e];
    }
  }
  return out;
}

void build_entry(const std::string& kind, const std::string& path,
                 const std::string& rest) {
  // Only these are fresh mounts; anything else is the machine's own.
  ASSERT_TRUE(path.starts_with("/var/") || path.starts_with("/usr/share/"))
      << path << " is outside the sandbox's fresh mounts";
  stdfs::create_directories(stdfs::path(path).parent_path());
  const size_t end = rest.rfind('"');
  if (kind == "dir") {
    stdfs::create_directory(path);
  } else if (kind == "file") {
    std::ofstream(path, std::ios::binary) << unquote(rest.substr(0, end + 1));
    if (end + 1 < rest.size())  // a mode follows
      chmod(path.c_str(), std::stoi(rest.substr(end + 1), nullptr, 8));
  } else if (kind == "link" && rest.starts_with("-> ")) {
    const std::string target = rest.substr(3);
    ASSERT_EQ(symlink((target[0] == '"' ? unquote(target) : target).c_str(),
                      path.c_str()),
              0);
  } else if (kind == "hardlink" && rest.starts_with("-> ")) {
    ASSERT_EQ(link(rest.substr(3).c_str(), path.c_str()), 0);
  } else if (kind == "fifo") {
    ASSERT_EQ(mkfifo(path.c_str(), 0644), 0);
  } else if (kind == "sparse") {
    std::ofstream(path, std::ios::binary).close();
    ASSERT_EQ(truncate(path.c_str(), std::stoll(rest)), 0);
  } else if (kind == "many") {
    for (long i = 0, count = std::stol(rest); i < count; ++i)
      close(open((path + std::to_string(i)).c_str(), O_WRONLY | O_CREAT, 0644));
  } else if (kind == "class") {
    ASSERT_EQ(setxattr(path.c_str(), "user.protection_class", rest.data(),
                       rest.size(), 0),
              0);
  } else {
    ADD_FAILURE() << "bad state entry: " << kind << " " << path << rest;
  }
}

// Targets stay raw unless they would not read back as written.
std::string target_text(const std::string& target) {
  const bool plain = !target.empty() && target[0] != '"' &&
                     target.back() != ' ' &&
                     quote(target) == '"' + target + '"';
  return plain ? target : quote(target);
}

std::string entry_line(const std::string& path) {
  struct stat st;
  lstat(path.c_str(), &st);
  const std::string shown = target_text(path);
  if (S_ISLNK(st.st_mode))
    return "link " + shown + " -> " + target_text(stdfs::read_symlink(path));
  if (S_ISDIR(st.st_mode)) return stdfs::is_empty(path) ? "dir " + shown : "";
  if (S_ISFIFO(st.st_mode))  // reading it would wait
    return "fifo " + shown;
  std::ifstream in(path, std::ios::binary);
  const std::string content((std::istreambuf_iterator<char>(in)), {});
  char mode[8];
  std::snprintf(mode, sizeof mode, " %04o", st.st_mode & 07777);
  return "file " + shown + " " + quote(content) +
         ((st.st_mode & 07777) == 0644 ? "" : mode);
}

// Everything written to the memory file `fd`, which is then closed.
std::string contents_of(int fd) {
  std::string text;
  char buffer[4096];
  lseek(fd, 0, SEEK_SET);
  for (ssize_t n; (n = read(fd, buffer, sizeof buffer)) > 0;)
    text.append(buffer, n);
  close(fd);
  return text;
}

}  // namespace

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    line.erase(0, line.find_first_not_of(' '));
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

void build_state(const std::string& description) {
  for (const std::string& line : lines_of(description)) {
    std::istringstream in(line);
    std::string kind, path, rest;
    in >> kind >> path;
    if (path[0] == '"') path = unquote(path);
    std::getline(in >> std::ws, rest);
    if (kind[0] != '#') build_entry(kind, path, rest);
  }
}

std::string read_state() {
  std::vector<std::string> lines;
  std::error_code ec;
  for (const auto& entry : stdfs::recursive_directory_iterator("/var/db", ec))
    if (std::string line = entry_line(entry.path()); !line.empty())
      lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  std::string out;
  for (const auto& line : lines) out += line + "\n";
  return out;
}

void clear_state() {
  for (const char* top : {"/var", "/usr/share"})
    for (const auto& entry : stdfs::directory_iterator(top))
      stdfs::remove_all(entry.path());
}

std::string stderr_of(const std::function<void()>& action) {
  testing::internal::CaptureStderr();  // at the descriptor: warn(3) too
  action();
  return testing::internal::GetCapturedStderr();
}

void expect_lines(const std::string& expected, const std::string& actual) {
  const auto want = lines_of(expected), got = lines_of(actual);
  bool same = want.size() == got.size();
  for (size_t i = 0; same && i < want.size(); ++i) {
    const std::string& w = want[i];
    same = w.ends_with(": *") ? got[i].starts_with(w.substr(0, w.size() - 1))
                              : w == got[i];
  }
  EXPECT_TRUE(same) << "expected lines:\n"
                    << expected << "actual lines:\n"
                    << actual;
}

std::string overlay_unavailable() {
  const pid_t pid = fork();
  if (pid == 0) {
    const bool mounted =
        unshare(CLONE_NEWNS) == 0 &&
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        mount("probe", "/var", "tmpfs", 0, nullptr) == 0 &&
        mkdir("/var/l", 0755) == 0 && mkdir("/var/u", 0755) == 0 &&
        mkdir("/var/w", 0755) == 0 &&
        mount("probe", "/var/l", "overlay", 0,
              "lowerdir=/var/l,upperdir=/var/u,workdir=/var/w,userxattr") == 0;
    _exit(mounted ? 0 : errno);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return "";
  return std::string("no overlay can be mounted here (Linux 5.11 or later "
                     "mounts one in a user namespace): ") +
         std::strerror(WIFEXITED(status) ? WEXITSTATUS(status) : EINTR);
}

// As at the process limit, which binds no process of the real root user.
void forbid_fork() {
  sock_filter filter[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone, 2, 0),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_clone3, 1, 0),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EAGAIN),
  };
  sock_fprog program{sizeof filter / sizeof filter[0], filter};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
      prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
    _exit(126);
}

tool_run run_tool(const std::vector<std::string>& command,
                  const std::string& stdout_path, bool may_fork,
                  const std::vector<resource_limit>& limits) {
  std::vector<const char*> argv, environment;
  for (const auto& word : command)
    (argv.empty() && word.find('=') != std::string::npos ? environment : argv)
        .push_back(word.c_str());
  if (argv.empty()) argv.push_back(MIRA_TZLINK_BINARY);
  argv.push_back(nullptr);
  const int out = memfd_create("stdout", MFD_CLOEXEC);
  const int err = memfd_create("stderr", MFD_CLOEXEC);
  const pid_t child = fork();
  if (child == 0) {
    // Standard input closed, as a boot may start it: the first file the
    // tool opens gets descriptor 0. Nothing else is handed down, so that a
    // limit on descriptors counts the tool's own.
    close(0);
    dup2(stdout_path.empty() ? out : open(stdout_path.c_str(), O_WRONLY), 1);
    dup2(err, 2);
    close_range(3, ~0U, 0);
    for (const auto& [resource, value] : limits) {
      if (resource == umask_setting) umask(mode_t(value));
      if (resource == RLIMIT_AS && !address_limits_apply) continue;
      const rlimit limit = {value, value};
      setrlimit(resource, &limit);
    }
    for (const char* assignment : environment)
      putenv(const_cast<char*>(assignment));
    alarm(30);  // kept across execv: a run that hangs fails, not the suite
    if (!may_fork) {
      // LeakSanitizer's exit check needs a thread of its own.
      setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
      forbid_fork();
    }
    execv(argv[0], const_cast<char* const*>(argv.data()));
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
          contents_of(out), contents_of(err)};
}

std::string missing_inputs() {
  std::ifstream missing(std::string(MIRA_TZLINK_INSTALL_INPUTS) + "/missing");
  if (missing) return std::string(std::istreambuf_iterator<char>(missing), {});
  if (!std::filesystem::is_directory(MIRA_TZLINK_INSTALL_INPUTS))
    return "no install inputs: run through ctest, whose fixture builds them";
  return {};
}
