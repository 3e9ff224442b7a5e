// Tested by tests/scenarios/tzctl_install.scn.
#include "tzctl/release_source.h"

#include <err.h>       // warnx
#include <sys/stat.h>  // lstat

#include <filesystem>
#include <map>
#include <fstream>
#include <sstream>
#include <vector>

#include "dataset/version_string_match.h"
#include "fs/read_first_word.h"
#include "tzctl/child_process.h"
#include "tzctl/install_refused.h"
#include "tzctl/plain_files.h"
#include "tzctl/printable_text.h"
#include "tzctl/tree_copy.h"
#include "tzctl/tzdata_makefile.h"
#include "tzctl/zic_source_version.h"

namespace stdfs = std::filesystem;

namespace {

enum class source_form { tree, tarball, package, unknown };

source_form form_of(const std::string& source) {
  std::error_code error;
  if (stdfs::is_directory(source, error)) return source_form::tree;
  const std::string start = plain_files::read_start(source, 8);
  if (start == "!<arch>\n") return source_form::package;
  if (start.starts_with("\x1f\x8b")) return source_form::tarball;
  return source_form::unknown;
}

std::string text_of(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

void run_or_refuse(const std::string& source, std::vector<std::string> argv) {
  const std::string name = argv[0];
  argv[0] = find_program(name);
  if (argv[0].empty()) {
    warnx("source check failed for %s: %s not found", source.c_str(),
          name.c_str());
    throw install_refused();
  }
  const int status = run_program(argv);
  if (status == 0) return;
  warnx("source check failed for %s: %s exited with status %d", source.c_str(),
        name.c_str(), status);
  throw install_refused();
}

// Whether the release holds `name`. What is there is read or compiled
// only as a regular file: a FIFO would hold the read or zic up for ever.
bool holds(const std::string& source, const std::string& unpacked,
           const std::string& name) {
  struct stat status;
  if (lstat((unpacked + "/" + name).c_str(), &status) != 0) return false;
  if (S_ISREG(status.st_mode)) return true;
  warnx("source check failed for %s: %s is not a regular file",
        source.c_str(), printable(name).c_str());
  throw install_refused();
}

// The files the release's Makefile compiles, else its combined tzdata.zi.
// One the Makefile lists and the release lacks is zic's to report.
std::vector<std::string> zic_inputs(const std::string& source,
                                    const std::string& unpacked) {
  std::vector<std::string> inputs;
  if (holds(source, unpacked, "Makefile"))
    for (const std::string& name :
         compiled_source_files(text_of(unpacked + "/Makefile"))) {
      holds(source, unpacked, name);
      inputs.push_back(unpacked + "/" + name);
    }
  if (inputs.empty() && holds(source, unpacked, "tzdata.zi"))
    inputs.push_back(unpacked + "/tzdata.zi");
  return inputs;
}

[[noreturn]] void refuse_outside(const std::string& source,
                                 const std::string& name) {
  warnx("source check failed for %s: %s leads to a file outside the release",
        source.c_str(), printable(name).c_str());
  throw install_refused();
}

// zic makes what a Link line names, and a Link to an absolute path makes
// a second name of a file of this machine: publishing it would write or
// show that file. Every link zic made must stay inside its tree.
void check_contained(const std::string& source, const std::string& tree) {
  struct names_of_file {
    nlink_t seen = 0, links = 0;
    std::string first;
  };
  std::map<std::pair<dev_t, ino_t>, names_of_file> files;
  std::error_code error;
  for (stdfs::recursive_directory_iterator walk(tree, error), end;
       !error && walk != end; walk.increment(error)) {
    const std::string name = walk->path().lexically_relative(tree).string();
    struct stat status;
    if (lstat(walk->path().c_str(), &status) != 0) continue;
    if (S_ISLNK(status.st_mode)) {
      const stdfs::path target = stdfs::read_symlink(walk->path(), error);
      const stdfs::path within =
          (stdfs::path(name).parent_path() / target).lexically_normal();
      if (target.is_absolute() || within.empty() || *within.begin() == "..")
        refuse_outside(source, name);
    } else if (S_ISREG(status.st_mode)) {
      names_of_file& file = files[{status.st_dev, status.st_ino}];
      if (file.seen++ == 0) {
        file.links = status.st_nlink;
        file.first = name;
      }
    }
  }
  for (const auto& [inode, file] : files)
    if (file.seen != file.links) refuse_outside(source, file.first);
}

// The tables readers look zones up in travel with the compiled tree. A
// release may lack any of them; one that is not a regular file (a link to
// a file of this machine, say) is left out too.
void copy_tables(const std::string& unpacked, const std::string& tree) {
  for (const char* name : {"iso3166.tab", "zone.tab", "zone1970.tab",
                           "zonenow.tab", "tzdata.zi", "leapseconds"}) {
    const std::string from = unpacked + "/" + name;
    struct stat status;
    if (lstat(from.c_str(), &status) == 0 && S_ISREG(status.st_mode))
      copy_file(from, tree + "/" + name);
  }
}

release_tree compile_tarball(const std::string& source,
                             const std::string& work) {
  const std::string unpacked = work + "/release", tree = work + "/zoneinfo";
  stdfs::create_directory(unpacked);
  // The release's owners mean nothing here, and where this runs as root
  // of a user namespace, restoring an unmapped owner fails the whole run.
  run_or_refuse(source,
                {"tar", "--no-same-owner", "-xzf", source, "-C", unpacked});
  std::vector<std::string> argv{"zic", "-d", tree};
  const auto inputs = zic_inputs(source, unpacked);
  if (inputs.empty()) {
    warnx("source check failed for %s: no Makefile data list or tzdata.zi",
          source.c_str());
    throw install_refused();
  }
  argv.insert(argv.end(), inputs.begin(), inputs.end());
  run_or_refuse(source, argv);
  check_contained(source, tree);
  copy_tables(unpacked, tree);
  std::string version = fs::read_first_word(unpacked + "/version", true);
  if (version.empty() && holds(source, unpacked, "tzdata.zi"))
    version = zic_source_version(unpacked + "/tzdata.zi");
  return {tree, version, true};
}

release_tree unpack_package(const std::string& source,
                            const std::string& work) {
  const std::string unpacked = work + "/package";
  run_or_refuse(source, {"dpkg-deb", "-x", source, unpacked});
  const std::string tree = unpacked + "/usr/share/zoneinfo";
  std::error_code error;
  if (!stdfs::is_directory(tree, error)) {
    warnx("source check failed for %s: no usr/share/zoneinfo in it",
          source.c_str());
    throw install_refused();
  }
  return {tree, zic_source_version(tree + "/tzdata.zi")};
}

release_tree take_tree(const std::string& source) {
  std::string version = zic_source_version(source + "/tzdata.zi");
  if (version.empty()) version = fs::read_first_word(source + "/+VERSION", true);
  return {source, version};
}

// A release's word only: the .1.0 of the set's name is the install's.
void check_version(const std::string& source, const std::string& version) {
  const auto groups = match_version_string(version);
  if (groups && groups->second_number.empty()) return;
  if (version.empty())
    warnx("version check failed for %s: it names no version", source.c_str());
  else
    warnx("version check failed for %s: %s is not a release's version",
          source.c_str(), printable(version).c_str());
  throw install_refused();
}

}  // namespace

release_tree open_release(const std::string& source, const std::string& work) {
  release_tree release;
  switch (form_of(source)) {
    case source_form::tree:
      release = take_tree(source);
      break;
    case source_form::tarball:
      release = compile_tarball(source, work);
      break;
    case source_form::package:
      release = unpack_package(source, work);
      break;
    case source_form::unknown:
      warnx("source check failed for %s: not a release tarball, a tzdata "
            "package or a zoneinfo tree",
            source.c_str());
      throw install_refused();
  }
  check_version(source, release.version);
  return release;
}
