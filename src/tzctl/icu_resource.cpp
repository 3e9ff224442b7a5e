// Tested by tests/scenarios/tzctl_install.scn.
#include "tzctl/icu_resource.h"

#include <errno.h>
#include <fcntl.h>     // open, O_*
#include <sys/wait.h>  // waitpid, WIF*
#include <unicode/ures.h>
#include <unicode/ustring.h>  // u_UCharsToChars
#include <unistd.h>           // fork, pipe2, dup2, _exit

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
constexpr std::size_t answer_limit = 4096;

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
// ("") and never ends this process. The child leaves by _exit, so nothing
// this process has buffered is written twice; its answer is cut at 4 KiB.
std::string tz_version_in_child(const std::string& directory) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {};
  const pid_t pid = fork();
  if (pid == 0) {
    close(ends[0]);
    // What reports a crash here (a sanitizer, say) is no line of ours.
    const int quiet = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (quiet >= 0) dup2(quiet, STDERR_FILENO);
    const std::string answer =
        tz_version_here(directory).substr(0, answer_limit);
    _exit(write(ends[1], answer.data(), answer.size()) == ssize_t(answer.size())
              ? 0
              : 1);
  }
  close(ends[1]);
  std::string answer;
  char buffer[answer_limit];
  for (ssize_t n; pid > 0 && (n = read(ends[0], buffer, sizeof buffer)) != 0;)
    if (n > 0 && answer.size() < answer_limit)
      answer.append(buffer, std::size_t(n));
    else if (n < 0 && errno != EINTR)
      break;
  close(ends[0]);
  int status = 0;
  while (pid > 0 && waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return pid > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0
             ? answer
             : std::string();
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
