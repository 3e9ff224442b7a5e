#pragma once

// Fixed paths mira-tzctl reads or writes that neither the data set model
// nor the boot's headers name: the boot keeps these inside its stages.
inline constexpr char data_directory[] = "/var/db";
inline constexpr char timezone_directory[] = "/var/db/timezone";
inline constexpr char legacy_icu_path[] = "/var/db/icu";
