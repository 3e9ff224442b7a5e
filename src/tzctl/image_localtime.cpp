// Tested by tests/scenarios/tzctl_setup_image.scn and tests/image/check.
#include "tzctl/image_localtime.h"

#include <err.h>  // warnx

#include <cstdio>
#include <optional>
#include <string>

#include "tzctl/image_tree.h"
#include "tzctl/plain_files.h"
#include "tzctl/printable_text.h"

namespace {

constexpr char localtime_path[] = "/etc/localtime";
constexpr char timezone_name_path[] = "/etc/timezone";
constexpr char absolute_tree[] = "/usr/share/zoneinfo/";
constexpr char relative_tree[] = "../usr/share/zoneinfo/";

// The zone a link names through any zoneinfo tree
// (/var/db/timezone/zoneinfo/Europe/Paris: Europe/Paris); "" for none.
std::string zone_of(const std::string& target) {
  for (const char* tree : {"/zoneinfo/", "/zoneinfo.default/"}) {
    const std::size_t at = target.rfind(tree);
    if (at != std::string::npos)
      return target.substr(at + std::string(tree).size());
  }
  return "";
}

// The first line of /etc/timezone, where Debian keeps the zone's name.
std::string named_zone(const image_tree& image) {
  const auto text = plain_files::read_file(image.at(timezone_name_path));
  if (!text) return "";
  return text->substr(0, text->find('\n'));
}

void relink(const image_tree& image, const std::string& target) {
  plain_files::write_link(target, image.at(localtime_path));
  std::printf("linked %s to %s\n", image.at(localtime_path).c_str(),
              target.c_str());
}

}  // namespace

void keep_localtime_one_step(const image_tree& image) {
  const std::string path = image.at(localtime_path);
  const auto kind = plain_files::kind_of(path);
  if (kind == plain_files::kind::none) return;  // readers take UTC
  if (kind != plain_files::kind::link) {
    const std::string zone = named_zone(image);
    if (zone.empty() || zone.find("..") != std::string::npos)
      warnx("%s is a copy of a zone file, and %s names no zone; leaving it",
            path.c_str(), image.at(timezone_name_path).c_str());
    else
      relink(image, relative_tree + zone);
    return;
  }
  const std::string target = plain_files::read_link(path).value_or("");
  if (target.starts_with(absolute_tree) || target.starts_with(relative_tree))
    return;
  const std::string zone = zone_of(target);
  if (zone.empty())
    warnx("%s links to %s, which names no zone; leaving it", path.c_str(),
          printable(target).c_str());
  else
    relink(image,
           (target.starts_with('/') ? absolute_tree : relative_tree) + zone);
}
