#pragma once

// Puts a checked release under /var/db/timezone/tz/ and names it in
// tz_latest, so that a kill at any point leaves tz_latest naming the old
// target or the complete new set: the set is built and synced under a
// hidden name, renamed to its version's name, and tz_latest is replaced by
// a rename. A failed step writes its line and throws install_refused.

#include <string>

struct release_set {
  std::string tree;           // the compiled zoneinfo tree to copy
  bool tree_made_here;        // in `work`, by zic: moved in when it can be
  std::string version;        // the release's word, such as 2026f
  std::string icu_directory;  // the four resource files
  std::string schema;         // such as 44l
  std::string work;           // scratch space outside /var/db

  std::string path() const;   // /var/db/timezone/tz/VERSION.1.0
  std::string data_file() const { return "icutz" + schema + ".dat"; }
};

// Whether the set's directory holds the whole set: its version word and
// the ICU files for the system's `schema`.
bool is_complete_set(const std::string& path, const std::string& version,
                     const std::string& schema);

// Makes /var/db, /var/db/timezone and its tz/ where the system has not;
// each must be a directory of its own, never a link to elsewhere.
void prepare_updates_directory();

// Under the lock, after prepare_updates_directory.
void publish_release(const release_set& set);
