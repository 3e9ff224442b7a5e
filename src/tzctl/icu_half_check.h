#pragma once

// The ICU half's checks: the four resource files are ICU resource bundles
// of the system's schema, the system's ICU opens them, and zoneinfo64.res
// is of the zoneinfo half's release. A failure writes its check's line and
// throws install_refused.

#include <string>

// Returns the schema, such as 44l, that names the ICU data file.
std::string check_icu_half(const std::string& icu_directory,
                           const std::string& system_schema,
                           const std::string& zoneinfo_version);
