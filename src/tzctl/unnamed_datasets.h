#pragma once

// Which directories under /var/db/timezone/tz/ a clean-up removes: the
// hidden leftovers of an earlier, interrupted one first, then every data
// set that none of the given link targets lies in. Other hidden entries,
// links and files are left alone. Throws std::filesystem::filesystem_error
// when the directory cannot be listed; a missing one holds nothing.

#include <filesystem>
#include <string>
#include <vector>

// What a directory is renamed to before it is deleted: hidden, in the same
// folder, and recognisable as a clean-up's.
inline constexpr char set_aside_prefix[] = ".cleaning-";

// `targets` are link texts as read, relative ones taken from the links'
// folder /var/db/timezone.
std::vector<std::filesystem::path> unnamed_datasets(
    const std::vector<std::string>& targets);
