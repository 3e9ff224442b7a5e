#pragma once

// Records in /var/db/timezone/TZVersionDiffRecord which version an
// activation replaced by which: "previous_new", no line end. A record that
// cannot be written is passed over in silence.

#include <string>

inline constexpr char version_diff_record[] =
    "/var/db/timezone/TZVersionDiffRecord";

void write_version_diff_record(const std::string& previous,
                               const std::string& next);
