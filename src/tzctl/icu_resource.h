#pragma once

// ICU's time-zone resource files as ICU readers see them: the header that
// says a file is a resource bundle and in which byte order, and what the
// system's ICU itself reads from a directory of loose files. ICU maps only
// a file with a size, so a FIFO or a device is refused, not waited on.
// Never writes a line and never throws.

#include <optional>
#include <string>

// The four files ICU's override directory reads, zoneinfo64.res first.
inline constexpr const char* icu_resource_names[] = {
    "zoneinfo64.res", "metaZones.res", "timezoneTypes.res",
    "windowsZones.res"};

// The letter of a resource bundle's byte order, l, b, or e for EBCDIC;
// none when the file is not an ICU resource bundle.
std::optional<char> resource_bundle_letter(const std::string& path);

// Whether the system's ICU opens `name` (without .res) in `directory`;
// else ICU's name for the error in `error`.
bool icu_opens(const std::string& directory, const std::string& name,
               std::string& error);

// The TZVersion of zoneinfo64.res in `directory`, or of the system's own
// ICU data when `directory` is empty; "" when it cannot be read.
std::string icu_tz_version(const std::string& directory);
