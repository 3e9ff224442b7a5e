// Tested through every test that builds or reads a state.
#include "harness/state.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

namespace stdfs = std::filesystem;

namespace {

std::string quote(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '\n') out += "\\n";
    else if (c == '\t') out += "\\t";
    else if (c == '\\' || c == '"') out += std::string("\\") + char(c);
    else if (c < 0x20 || c >= 0x7f) {
      char hex[5];
      std::snprintf(hex, sizeof hex, "\\x%02x", c);
      out += hex;
    } else out += char(c);
  }
  return out + "\"";
}

// Targets stay raw unless they would not read back as written.
std::string target_text(const std::string& target) {
  bool plain = !target.empty() && target[0] != '"' &&
               target.back() != ' ' &&
               std::all_of(target.begin(), target.end(), [](unsigned char c) {
                 return c >= 0x20 && c < 0x7f;
               });
  return plain ? target : quote(target);
}

void make_parent(const std::string& path) {
  stdfs::create_directories(stdfs::path(path).parent_path());
}

void build_entry(const std::string& line) {
  std::istringstream in(line);
  std::string kind, path;
  in >> kind >> path;
  std::string rest;
  std::getline(in >> std::ws, rest);
  make_parent(path);
  if (kind == "dir") {
    stdfs::create_directory(path);
    if (!rest.empty()) chmod(path.c_str(), std::stoi(rest, nullptr, 8));
  } else if (kind == "file") {
    const size_t end = rest.rfind('"');
    std::ofstream(path, std::ios::binary) << unquote(rest.substr(0, end + 1));
    const std::string mode = rest.substr(end + 1);
    if (mode.find_first_not_of(' ') != std::string::npos)
      chmod(path.c_str(), std::stoi(mode, nullptr, 8));
  } else if (kind == "link" && rest.rfind("->", 0) == 0) {
    std::string target = rest.substr(2);
    target.erase(0, target.find_first_not_of(' '));
    if (!target.empty() && target[0] == '"') target = unquote(target);
    ASSERT_EQ(symlink(target.c_str(), path.c_str()), 0) << line;
  } else {
    ADD_FAILURE() << "bad state entry: " << line;
  }
}

std::string entry_line(const stdfs::directory_entry& entry) {
  const std::string path = entry.path().string();
  struct stat st;
  lstat(path.c_str(), &st);
  const unsigned mode = st.st_mode & 07777;
  char mode_text[8];
  std::snprintf(mode_text, sizeof mode_text, " %04o", mode);
  if (S_ISLNK(st.st_mode))
    return "link " + path + " -> " + target_text(stdfs::read_symlink(path));
  if (S_ISDIR(st.st_mode)) {
    const bool empty = stdfs::is_empty(path);
    if (!empty && mode == 0755) return {};
    return "dir " + path + (mode == 0755 ? "" : mode_text);
  }
  std::ifstream in(path, std::ios::binary);
  std::string content((std::istreambuf_iterator<char>(in)), {});
  return "file " + path + " " + quote(content) +
         (mode == 0644 ? "" : mode_text);
}

}  // namespace

std::string unquote(const std::string& quoted) {
  std::string out;
  for (size_t i = 1; i + 1 < quoted.size(); ++i) {
    char c = quoted[i];
    if (c != '\\') {
      out += c;
      continue;
    }
    c = quoted[++i];
    if (c == 'n') out += '\n';
    else if (c == 't') out += '\t';
    else if (c == 'x') {
      out += char(std::stoi(quoted.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else out += c;
  }
  return out;
}

void build_state(const std::string& description) {
  std::istringstream in(description);
  for (std::string line; std::getline(in, line);) {
    line.erase(0, line.find_first_not_of(' '));
    if (!line.empty() && line[0] != '#') build_entry(line);
  }
}

std::string read_state(const std::string& root) {
  std::vector<std::string> lines;
  std::error_code ec;
  for (const auto& entry : stdfs::recursive_directory_iterator(root, ec)) {
    std::string line = entry_line(entry);
    if (!line.empty()) lines.push_back(line);
  }
  std::sort(lines.begin(), lines.end());
  std::string out;
  for (const auto& line : lines) out += line + "\n";
  return out;
}

void clear_state() {
  for (const char* top : {"/var", "/usr/share"}) {
    // Restore write access a test may have taken away before emptying.
    chmod(top, 0755);
    for (const auto& entry : stdfs::directory_iterator(top))
      stdfs::remove_all(entry.path());
  }
}
