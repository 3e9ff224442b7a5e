#pragma once

// The zoneinfo half's own checks: every compiled zone file of the release
// is a whole TZif file, and every zone the system data set has is there.
// The system's posix/ and right/ trees repeat its zones and are not
// required. A failure writes its check's line and throws install_refused.

#include <cstddef>
#include <string>

// `source` names the release in the lines. Returns how many zone files the
// release has.
std::size_t check_zone_tree(const std::string& tree,
                            const std::string& system_tree,
                            const std::string& source);
