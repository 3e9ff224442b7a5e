// Run by the bench test; see bench/README.md.
#include "boot_states.h"

#include <sys/stat.h>  // mkdir, stat
#include <unistd.h>    // readlink, symlink, unlink

#include <cerrno>
#include <cstdio>
#include <cstring>  // strerror
#include <stdexcept>
#include <string>

namespace {

const std::string base = "/var/db/timezone";
const std::string older = base + "/tz/2020a.1.0";
const std::string newer = base + "/tz/2020b.1.0";

void fail(const std::string& what, const std::string& path) {
  throw std::runtime_error(what + " " + path + ": " + std::strerror(errno));
}

void make_directories(const std::string& path) {
  for (std::size_t slash = 1; slash != std::string::npos;) {
    slash = path.find('/', slash + 1);
    const std::string prefix = path.substr(0, slash);
    if (mkdir(prefix.c_str(), 0755) != 0 && errno != EEXIST)
      fail("mkdir", prefix);
  }
}

void write_file(const std::string& path, const std::string& content) {
  make_directories(path.substr(0, path.rfind('/')));
  std::FILE* file = std::fopen(path.c_str(), "w");
  if (file == nullptr) fail("create", path);
  std::fputs(content.c_str(), file);
  if (std::fclose(file) != 0) fail("write", path);
}

void replace_link(const std::string& target, const std::string& path) {
  if (unlink(path.c_str()) != 0 && errno != ENOENT) fail("unlink", path);
  if (symlink(target.c_str(), path.c_str()) != 0) fail("symlink", path);
}

std::string link_target(const std::string& path) {
  char buffer[1024];
  const ssize_t length = readlink(path.c_str(), buffer, sizeof buffer);
  return length < 0 ? std::string() : std::string(buffer, length);
}

void make_update(const std::string& path, const char* version) {
  write_file(path + "/zoneinfo/+VERSION", std::string(version) + "\n");
  write_file(path + "/zoneinfo/Europe/Paris", "");
  write_file(path + "/icutz/icutz44l.dat", "");
}

// Everything as the last activation of 2020a left it, but tz_latest.
void set_state(const std::string& latest) {
  replace_link(older + "/zoneinfo", base + "/zoneinfo");
  replace_link(older + "/icutz", base + "/icutz");
  replace_link(latest, base + "/tz_latest");
  replace_link(base + "/zoneinfo/Europe/Paris", base + "/localtime");
  write_file(base + "/TZVersionDiffRecord", "2019c.1.0_2020a.1.0");
  if (unlink((base + "/needs_cleanup").c_str()) != 0 && errno != ENOENT)
    fail("unlink", base + "/needs_cleanup");
}

}  // namespace

void make_datasets() {
  write_file("/usr/share/zoneinfo.default/+VERSION", "2019c\n");
  write_file("/usr/share/zoneinfo.default/Europe/Paris", "");
  write_file("/usr/share/icu/icutzformat.txt", "44l\n");
  make_update(older, "2020a");
  make_update(newer, "2020b");
  replace_link(scratch_link_target, scratch_link);
}

void set_steady_state() { set_state(older); }

bool steady_state_kept() {
  struct stat marker {};
  return link_target(base + "/zoneinfo") == older + "/zoneinfo" &&
         link_target(base + "/icutz") == older + "/icutz" &&
         stat((base + "/needs_cleanup").c_str(), &marker) != 0;
}

void set_activation_state() { set_state(newer); }

bool newer_update_activated() {
  struct stat marker {};
  return link_target(base + "/zoneinfo") == newer + "/zoneinfo" &&
         link_target(base + "/icutz") == newer + "/icutz" &&
         stat((base + "/needs_cleanup").c_str(), &marker) == 0;
}
