// Tested by tests/scenarios/tzctl_preview.scn.
#include "tzctl/tree_snapshot.h"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "dataset/mira_dataset.h"
#include "tzctl/printable_text.h"
#include "tzctl/state_paths.h"

namespace stdfs = std::filesystem;

namespace {

std::string described(const stdfs::directory_entry& entry) {
  const stdfs::file_status status = entry.symlink_status();
  if (stdfs::is_symlink(status))
    return "link to " + stdfs::read_symlink(entry.path()).string();
  if (stdfs::is_directory(status)) return "directory";
  if (!stdfs::is_regular_file(status)) return "other";
  std::ifstream in(entry.path(), std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return "file \"" + printable(content.str(), "\"\\") + "\"";
}

std::string entry_at(const tree_snapshot& snapshot, const std::string& path) {
  const auto found = snapshot.find(path);
  return found == snapshot.end() ? "(none)" : found->second;
}

}  // namespace

tree_snapshot take_snapshot() {
  const stdfs::path updates =
      stdfs::path(mira_dataset::update_prefix).parent_path();
  tree_snapshot snapshot;
  for (auto walk = stdfs::recursive_directory_iterator(data_directory);
       walk != stdfs::recursive_directory_iterator(); ++walk) {
    snapshot[walk->path().string()] = described(*walk);
    if (walk->path() == updates) walk.disable_recursion_pending();
  }
  return snapshot;
}

std::vector<std::string> changes(const tree_snapshot& before,
                                 const tree_snapshot& after) {
  tree_snapshot every_path = before;
  every_path.insert(after.begin(), after.end());
  std::vector<std::string> lines;
  for (const auto& [path, unused] : every_path) {
    const std::string was = entry_at(before, path);
    const std::string is = entry_at(after, path);
    if (was == is) continue;
    lines.push_back(path);
    lines.back().append(": ").append(was).append(" -> ").append(is);
  }
  return lines;
}
