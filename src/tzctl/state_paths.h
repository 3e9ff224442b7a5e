#pragma once

// Fixed paths mira-tzctl reads or writes that neither the data set model
// nor the boot's headers name: the boot keeps these inside its stages.
inline constexpr char data_directory[] = "/var/db";
inline constexpr char timezone_directory[] = "/var/db/timezone";
inline constexpr char localtime_link_path[] = "/var/db/timezone/localtime";
inline constexpr char version_record_path[] =
    "/var/db/timezone/TZVersionDiffRecord";
inline constexpr char legacy_icu_path[] = "/var/db/icu";
