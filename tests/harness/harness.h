#pragma once

// What tests and scenarios share: file-system states in a compact form, one
// entry a line, paths absolute, parent directories implied:
//   file PATH "content" [MODE]     content in C escapes (\n \t \\ \" \xHH)
//   dir PATH                        PATH raw, or "quoted" with escapes
//   link PATH -> TARGET             TARGET raw, or "quoted" with escapes
//   class PATH VALUE                (to build only) a protection class
//   fifo PATH                       a named pipe
//   hardlink PATH -> EXISTING       (to build only) a second name for the
//                                   file EXISTING, given before it
//   sparse PATH SIZE                (to build only) SIZE zero bytes, no data
//   many PATH COUNT                 (to build only) COUNT empty files named
//                                   PATH's last part and 0 to COUNT-1
// and warning lines captured and compared whole. A PATH that does not
// read back as written, such as one holding a line end, is "quoted". Only
// used in the sandbox.

#include <sys/resource.h>  // rlim_t

#include <functional>
#include <string>
#include <utility>
#include <vector>

// Creates every entry of `description`; a test fails on any error.
void build_state(const std::string& description);

// Everything below /var/db, sorted by path, in the form above. Directories
// appear only when empty; files carry their mode only when it is not 0644.
std::string read_state();

// Empties /var and /usr/share, so that every test starts from nothing.
void clear_state();

// What `action` writes on standard error (fd 2) while it runs.
std::string stderr_of(const std::function<void()>& action);

// Expects `actual` to hold exactly the lines of `expected`, in order. An
// expected line ending in ": *" accepts any errno text after that ": ".
void expect_lines(const std::string& expected, const std::string& actual);

// An address-space limit holds a plain build to its memory bound. Under
// AddressSanitizer, whose shadow memory needs terabytes of address space,
// no such limit can be set: those runs check their output only.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool address_limits_apply = false;
#else
inline constexpr bool address_limits_apply = true;
#endif

struct tool_run {
  int status;  // the exit status, or 128 plus the signal that ended it
  std::string stdout_text, stderr_text;
};

// A resource limit (RLIMIT_*) and the value it is set to; `umask_setting`
// in place of a limit sets the file-mode creation mask instead.
using resource_limit = std::pair<int, rlim_t>;
inline constexpr int umask_setting = -1;

// Runs `command` once, a program's path and its arguments (by default the
// built mira-tzlink with none), with standard input closed and standard
// output captured, or sent to `stdout_path` when one is given. Unless
// `may_fork`, every clone(2) it makes fails with EAGAIN. It runs under
// `limits`; a run still going after 30 seconds is ended by SIGALRM.
tool_run run_tool(const std::vector<std::string>& command = {},
                  const std::string& stdout_path = "", bool may_fork = true,
                  const std::vector<resource_limit>& limits = {});

// Why no overlay can be mounted in a mount namespace made from this one, as
// mira-tzctl preview mounts it, or "" when one can.
std::string overlay_unavailable();

// Why the releases harness/make_install_inputs builds are not there (a
// tool it needs is missing, say), or "" when they are.
std::string missing_inputs();

// The lines of `text` that hold more than spaces, without leading spaces.
std::vector<std::string> lines_of(const std::string& text);
