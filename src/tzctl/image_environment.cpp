// Tested by tests/scenarios/tzctl_setup_image.scn and tests/image/check.
#include "tzctl/image_environment.h"

#include <cstdio>
#include <optional>
#include <string>

#include "tzctl/image_tree.h"
#include "tzctl/plain_files.h"

namespace {

constexpr char assignment[] = "ICU_TIMEZONE_FILES_DIR=/var/db/timezone/icutz";
constexpr char login_environment[] = "/etc/environment";
constexpr const char* drop_in_directories[] = {"/etc/systemd/system.conf.d",
                                               "/etc/systemd/user.conf.d"};
constexpr char drop_in_name[] = "/mira-tzlink-icu.conf";

std::string drop_in() {
  return std::string(
             "# Written by mira-tzctl setup-image: ICU readers take their\n"
             "# time-zone data from the set that mira-tzlink made current.\n"
             "[Manager]\n"
             "DefaultEnvironment=") +
         assignment + "\n";
}

// Where `text` holds `line` as a whole line, or npos.
std::size_t find_line(const std::string& text, const std::string& line) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    if (text.compare(at, end == std::string::npos ? end : end - at, line) == 0)
      return at;
    if (end == std::string::npos) break;
    at = end + 1;
  }
  return std::string::npos;
}

void add_login_line(const std::string& path) {
  std::string text = plain_files::read_file(path).value_or("");
  if (find_line(text, assignment) != std::string::npos) return;
  if (!text.empty() && text.back() != '\n') text += '\n';
  plain_files::write_file(path, text + assignment + "\n");
  std::printf("added %s to %s\n", assignment, path.c_str());
}

void remove_login_line(const std::string& path) {
  std::optional<std::string> text = plain_files::read_file(path);
  const std::size_t at =
      text ? find_line(*text, assignment) : std::string::npos;
  if (at == std::string::npos) return;
  text->erase(at, std::string(assignment).size() + 1);
  plain_files::write_file(path, *text);
  std::printf("removed %s from %s\n", assignment, path.c_str());
}

}  // namespace

void set_icu_environment(const image_tree& image) {
  for (const char* directory : drop_in_directories) {
    plain_files::make_directory(image.at("/etc/systemd"));
    plain_files::make_directory(image.at(directory));
    const std::string path = image.at(directory) + drop_in_name;
    if (plain_files::read_file(path) == drop_in()) continue;
    plain_files::write_file(path, drop_in());
    std::printf("wrote %s\n", path.c_str());
  }
  add_login_line(image.at(login_environment));
}

void unset_icu_environment(const image_tree& image) {
  remove_login_line(image.at(login_environment));
  for (const char* directory : drop_in_directories) {
    const std::string path = image.at(directory) + drop_in_name;
    if (plain_files::kind_of(path) == plain_files::kind::none) continue;
    plain_files::remove_file(path);
    std::printf("removed %s\n", path.c_str());
    plain_files::remove_empty_directory(image.at(directory));
  }
}
