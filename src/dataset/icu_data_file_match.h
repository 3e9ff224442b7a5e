#pragma once

// Which file names name an update's ICU data: "icutz", a run of digits,
// one of the letters l, b or e, then ".dat", the whole name. Pure: it
// allocates nothing and leaves errno alone.

#include <string_view>

// The schema the name carries, its digits and letter (44l for
// icutz44l.dat), as a view into `name`; empty when `name` is no such name.
std::string_view match_icu_data_file_name(std::string_view name);
