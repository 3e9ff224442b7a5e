// Tested by tests/scenarios/tzctl_install.scn and tzctl_status.scn.
#include "tzctl/icu_resource.h"

#include <fcntl.h>     // open, O_*
#include <limits.h>    // PIPE_BUF
#include <stdlib.h>    // EXIT_SUCCESS
#include <sys/wait.h>  // waitpid
#include <unicode/ures.h>
#include <unicode/ustring.h>  // u_UCharsToChars
#include <unistd.h>           // fork, pipe2, dup2, _exit

#include <algorithm>
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

std::string tz_version_here(const std::string& directory) {
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

// ICU trusts the files it maps: a damaged bundle can crash its reader.
// The version is read in a child, so that such a file reads as unreadable
// ("") and never ends this process. The child writes its answer in one
// piece (a pipe takes PIPE_BUF bytes at once), or nothing, and leaves by
// _exit, so nothing this process has buffered is written twice.
std::string tz_version_in_child(const std::string& directory) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {};
  const pid_t pid = fork();
  if (pid == 0) {
    // What reports a crash here (a sanitizer, say) is no line of ours.
    dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
    const std::string answer = tz_version_here(directory).substr(0, PIPE_BUF);
    [[maybe_unused]] const ssize_t sent =
        write(ends[1], answer.data(), answer.size());
    _exit(EXIT_SUCCESS);
  }
  close(ends[1]);
  char buffer[PIPE_BUF];
  const ssize_t length = read(ends[0], buffer, sizeof buffer);
  close(ends[0]);
  // After a failed fork there is no child, and nothing was read.
  const bool reaped = waitpid(pid, nullptr, 0) == pid;
  return reaped ? std::string(buffer, std::max<ssize_t>(length, 0)) : "";
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
  return tz_version_in_child(directory);
}
