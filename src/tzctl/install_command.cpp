// Tested by tests/scenarios/tzctl_install.scn and the install crash
// injection in tests/crash/.
#include "tzctl/install_command.h"

#include <err.h>     // warn, warnx
#include <errno.h>   // EWOULDBLOCK
#include <stdlib.h>    // getenv, mkdtemp
#include <sys/stat.h>  // umask

#include <cstdio>
#include <filesystem>

#include "dataset/mira_dataset.h"
#include "dataset/mira_icu.h"
#include "dataset/mira_zoneinfo.h"
#include "fs/operations.h"
#include "startup/active_links.h"
#include "tzctl/exit_status.h"
#include "tzctl/icu_half_check.h"
#include "tzctl/icu_resource.h"
#include "tzctl/install_publication.h"
#include "tzctl/install_refused.h"
#include "tzctl/status_prometheus.h"
#include "tzctl/printable_text.h"
#include "tzctl/release_source.h"
#include "tzctl/state_lock.h"
#include "tzctl/state_paths.h"
#include "tzctl/zone_tree_check.h"

namespace stdfs = std::filesystem;

namespace {

// Where TMPDIR does not say, /var/tmp: a release is megabytes, and there
// it usually shares /var/db's file system, so zic's output moves into
// place instead of being copied.
std::string scratch_parent() {
  const char* tmp = getenv("TMPDIR");
  if (tmp && *tmp) return tmp;
  std::error_code error;
  return stdfs::is_directory("/var/tmp", error) ? "/var/tmp" : "/tmp";
}

// Scratch space outside /var/db, removed whatever happens.
class work_directory {
 public:
  work_directory() {
    std::string pattern = scratch_parent() + "/mira-tzctl-install.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      warn("Cannot create %s", pattern.c_str());
      throw install_refused();
    }
    path = pattern;
  }
  ~work_directory() {
    std::error_code ignored;  // scratch only: a leftover harms nothing
    stdfs::remove_all(path, ignored);
  }
  std::string path;
};

// The version order is the boot's: the set is compared as a data set.
void check_newer(const std::string& source, const release_set& set,
                 const std::string& latest_target) {
  const dataset_version candidate(set.version + ".1.0");
  const mira_dataset system;
  if (!(candidate > system.version)) {
    warnx("newer check failed for %s: %s.1.0 is not newer than the system "
          "data set's %s",
          source.c_str(), set.version.c_str(), system.version_text.c_str());
    throw install_refused();
  }
  std::error_code error;
  if (!latest_target.starts_with(mira_dataset::update_prefix) ||
      !stdfs::is_directory(latest_target, error))
    return;  // nothing installed that this one must be newer than
  const mira_dataset latest(latest_target);
  if (candidate > latest.version) return;
  warnx("newer check failed for %s: %s.1.0 is not newer than %s, which "
        "tz_latest names",
        source.c_str(), set.version.c_str(),
        printable(latest.version_text).c_str());
  throw install_refused();
}

std::string link_words(const std::string& target) {
  return target.empty() ? "(none)" : "link to " + printable(target);
}

// What the next boot changes, as preview shows a change.
void print_next_boot(const release_set& set) {
  std::printf("The next boot would activate it:\n");
  std::printf("  %s: %s -> link to %s/zoneinfo\n", mira_zoneinfo::link_path,
              link_words(fs::read_symlink(mira_zoneinfo::link_path)).c_str(),
              set.path().c_str());
  std::printf("  %s: %s -> link to %s/icutz\n", mira_icu::link_path,
              link_words(fs::read_symlink(mira_icu::link_path)).c_str(),
              set.path().c_str());
}

void print_plan(const release_set& set, std::size_t zone_files) {
  std::printf("Would write %s/zoneinfo: %zu zone files and +VERSION\n",
              set.path().c_str(), zone_files);
  std::printf("Would write %s/icutz:", set.path().c_str());
  for (const char* name : icu_resource_names) std::printf(" %s", name);
  std::printf(" %s\n", set.data_file().c_str());
  std::printf("Would point %s at %s\n", latest_link, set.path().c_str());
  std::printf("Dry run: nothing changed.\n");
}

int install(const std::string& source, const std::string& icu_directory,
            bool dry_run) {
  // What zic and icupkg write is published as they wrote it: every reader
  // must be able to read it, whatever the operator's umask.
  umask(022);
  const work_directory work;
  const release_tree release = open_release(source, work.path);
  release_set set{release.directory, release.made_here, release.version,
                  icu_directory, "", work.path};
  const std::size_t zone_files = check_zone_tree(
      release.directory, mira_zoneinfo::system_directory, source);
  const mira_icu system_icu;
  set.schema = check_icu_half(icu_directory, system_icu.schema, set.version);
  const std::string latest_target = fs::read_symlink(latest_link);
  if (latest_target == set.path() &&
      is_complete_set(set.path(), set.version, set.schema)) {
    std::printf("%s is installed already, and tz_latest names it: nothing "
                "changed.\n",
                set.path().c_str());
    return exit_status::ok;
  }
  check_newer(source, set, latest_target);
  if (dry_run) {
    print_plan(set, zone_files);
    return exit_status::ok;
  }
  prepare_updates_directory();
  // A dry run changes nothing and takes no lock. Under it, tz_latest is
  // read again: another install may have published since.
  const state_lock lock("install");
  check_newer(source, set, fs::read_symlink(latest_link));
  publish_release(set);
  std::printf("Installed %s, and tz_latest names it.\n", set.path().c_str());
  print_next_boot(set);
  return exit_status::ok;
}

}  // namespace

int install_command(const std::string& source,
                    const std::string& icu_directory, bool dry_run) {
  try {
    const int status = install(source, icu_directory, dry_run);
    if (status == exit_status::ok && !dry_run) refresh_textfile_metrics();
    return status;
  } catch (const install_refused&) {  // its line is written
    return exit_status::not_done;
  } catch (int error) {  // the lock or an fs:: read has written its line
    return error == EWOULDBLOCK ? exit_status::not_done
                                : exit_status::cannot_run;
  }
}
