#pragma once

// Fixed paths mira-tzctl needs that no header of the boot names: the two
// directories it copies and walks, and /var/db/icu, which only the boot's
// main removes.
inline constexpr char data_directory[] = "/var/db";
inline constexpr char timezone_directory[] = "/var/db/timezone";
inline constexpr char legacy_icu_path[] = "/var/db/icu";
