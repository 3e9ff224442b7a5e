#pragma once

// Fixed paths mira-tzctl needs that no header of the boot names: the two
// directories it copies and walks, and /var/db/icu, which only the boot's
// main removes.
inline constexpr char data_directory[] = "/var/db";
inline constexpr char timezone_directory[] = "/var/db/timezone";
inline constexpr char legacy_icu_path[] = "/var/db/icu";

// Where update data sets live, as an entry of timezone_directory.
inline constexpr char updates_name[] = "tz";
inline constexpr char updates_directory[] = "/var/db/timezone/tz";

// The lock install and clean share. It lives beside the data it guards, so
// that it is on the same file system and seen by whoever sees the data.
inline constexpr char state_lock_path[] = "/var/db/timezone/.mira-tzctl.lock";

// Hidden names in tz/: what clean renames a directory to before deleting
// it, and what install builds a data set under before publishing it. Met
// by anyone holding the lock, either is the leftover of a run cut short.
inline constexpr char cleaning_prefix[] = ".cleaning-";
inline constexpr char installing_prefix[] = ".installing-";
