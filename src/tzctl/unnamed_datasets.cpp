// Tested by tests/scenarios/tzctl_clean.scn.
#include "tzctl/unnamed_datasets.h"

#include <algorithm>

#include "dataset/mira_dataset.h"
#include "tzctl/state_paths.h"

namespace stdfs = std::filesystem;

namespace {

// Whether `path` is `directory` or lies inside it, component by component:
// /var/db/timezone/tz/2020a.1.0x does not lie in .../2020a.1.0.
bool lies_in(const stdfs::path& path, const stdfs::path& directory) {
  return std::mismatch(directory.begin(), directory.end(), path.begin(),
                       path.end())
             .first == directory.end();
}

// Each target as written and as the system resolves it, so that no way of
// spelling a data set's path ("..", "//", a trailing "/", a link on the
// way) lets its directory go.
std::vector<stdfs::path> named_paths(const std::vector<std::string>& targets) {
  std::vector<stdfs::path> named;
  for (const std::string& target : targets) {
    if (target.empty()) continue;
    const stdfs::path absolute = stdfs::path(timezone_directory) / target;
    named.push_back(absolute.lexically_normal());
    std::error_code unresolved;
    const stdfs::path resolved = stdfs::canonical(absolute, unresolved);
    if (!unresolved) named.push_back(resolved);
  }
  return named;
}

bool is_named(const stdfs::path& directory,
              const std::vector<stdfs::path>& named) {
  std::error_code unresolved;
  const stdfs::path resolved = stdfs::canonical(directory, unresolved);
  return std::any_of(named.begin(), named.end(), [&](const stdfs::path& p) {
    return lies_in(p, directory) || (!unresolved && lies_in(p, resolved));
  });
}

bool is_leftover(const stdfs::path& name) {
  return name.string().starts_with(set_aside_prefix);
}

}  // namespace

std::vector<stdfs::path> unnamed_datasets(
    const std::vector<std::string>& targets) {
  const stdfs::path updates(mira_dataset::update_prefix);
  if (!stdfs::is_directory(updates)) return {};
  const std::vector<stdfs::path> named = named_paths(targets);
  std::vector<stdfs::path> found;
  for (const auto& entry : stdfs::directory_iterator(updates)) {
    const stdfs::path name = entry.path().filename();
    if (!entry.is_directory() || entry.is_symlink()) continue;
    if (name.string()[0] == '.' && !is_leftover(name)) continue;
    if (!is_named(entry.path(), named)) found.push_back(entry.path());
  }
  // Leftovers go first: a directory set aside now may need the name an
  // interrupted clean-up left behind.
  std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) {
    return std::pair(!is_leftover(a.filename()), a) <
           std::pair(!is_leftover(b.filename()), b);
  });
  return found;
}
