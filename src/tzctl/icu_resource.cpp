// Tested by tests/scenarios/tzctl_install.scn.
#include "tzctl/icu_resource.h"

#include <unicode/ures.h>
#include <unicode/ustring.h>  // u_UCharsToChars

#include <memory>
#include <string>
#include <string_view>

#include "tzctl/plain_files.h"

namespace {

// Where ICU's data header keeps what we read: after its size word and two
// magic bytes, UDataInfo's byte order and charset family, and at 12 the
// data format, "ResB" for resource bundles.
constexpr std::size_t magic_at = 2, big_endian_at = 8, charset_at = 9,
                      format_at = 12, header_bytes = 16;
constexpr unsigned char ebcdic_family = 1;

struct bundle_closer {
  void operator()(UResourceBundle* bundle) const { ures_close(bundle); }
};
using bundle_pointer = std::unique_ptr<UResourceBundle, bundle_closer>;

// ICU takes a package path ending in a slash as a directory of loose files.
bundle_pointer open_bundle(const std::string& directory,
                           const std::string& name, UErrorCode& status) {
  const std::string path = directory.empty() ? "" : directory + "/";
  return bundle_pointer(ures_openDirect(
      directory.empty() ? nullptr : path.c_str(), name.c_str(), &status));
}

}  // namespace

std::optional<char> resource_bundle_letter(const std::string& path) {
  std::string start = plain_files::read_start(path, header_bytes);
  start.resize(header_bytes);
  const auto* header = reinterpret_cast<const unsigned char*>(start.data());
  if (header[magic_at] != 0xda || header[magic_at + 1] != 0x27 ||
      std::string_view((const char*)header + format_at, 4) != "ResB")
    return std::nullopt;
  if (header[big_endian_at] == 0) return 'l';
  return header[charset_at] == ebcdic_family ? 'e' : 'b';
}

bool icu_opens(const std::string& directory, const std::string& name,
               std::string& error) {
  UErrorCode status = U_ZERO_ERROR;
  const bundle_pointer bundle = open_bundle(directory, name, status);
  if (U_SUCCESS(status)) return true;
  error = u_errorName(status);
  return false;
}

std::string icu_tz_version(const std::string& directory) {
  UErrorCode status = U_ZERO_ERROR;
  const bundle_pointer bundle = open_bundle(directory, "zoneinfo64", status);
  int32_t length = 0;
  const UChar* text =
      U_SUCCESS(status)
          ? ures_getStringByKey(bundle.get(), "TZVersion", &length, &status)
          : nullptr;
  if (U_FAILURE(status) || text == nullptr) return {};
  std::string version(std::size_t(length), '\0');
  u_UCharsToChars(text, version.data(), length);
  return version;
}
