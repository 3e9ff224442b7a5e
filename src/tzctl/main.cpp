// Tested by tests/scenarios/tzctl_usage.scn.
#include <err.h>     // warn, warnx
#include <signal.h>  // signal, SIGXFSZ

#include <algorithm>
#include <cstdio>
#include <span>
#include <string_view>

#include "tzctl/clean_command.h"
#include "tzctl/command_line.h"
#include "tzctl/exit_status.h"
#include "tzctl/install_command.h"
#include "tzctl/preview_command.h"
#include "tzctl/printable_text.h"
#include "tzctl/setup_image_command.h"
#include "tzctl/status_command.h"
#include "tzctl/status_prometheus.h"

namespace {

struct command {
  std::string_view name;
  command_syntax syntax;
  const char* synopsis;  // the usage line after "mira-tzctl "
  const char* help;      // what it does and what its options mean
  int (*run)(const command_arguments&);
};

int usage_error(const std::string& what, const char* synopsis);

constexpr char status_synopsis[] =
    "status [--json | --prometheus [--output FILE]]";

const command commands[] = {
    {"status",
     {{"--json", "--prometheus"}, {"--output"}, 0, 0},
     status_synopsis,
     "Shows which time-zone data is in use, what the next boot will do\n"
     "with the links, and exits 1 unless readers see one data set now and\n"
     "after that boot. Reads, never writes.\n"
     "  --json   the same as one JSON object\n"
     "  --prometheus   the same as metrics in Prometheus's text format\n"
     "  --output FILE  write the metrics to FILE, replacing it whole\n",
     [](const command_arguments& a) {
       if (a.has("--prometheus") && !a.has("--json"))
         return status_prometheus_command(
             a.values.contains("--output") ? a.values.at("--output") : "");
       if (a.has("--json") && a.has("--prometheus"))
         return usage_error("--json and --prometheus exclude each other",
                            status_synopsis);
       if (a.values.contains("--output"))
         return usage_error("--output goes with --prometheus", status_synopsis);
       return status_command(a.has("--json"));
     }},
    {"preview",
     {{}, {}, 0, 0},
     "preview",
     "Runs the boot tool once on a private view of /var/db and shows the\n"
     "lines it would write and every entry it would change.\n",
     [](const command_arguments&) { return preview_command(); }},
    {"clean",
     {{"--dry-run", "--obsolete"}, {}, 0, 0},
     "clean [--dry-run] [--obsolete]",
     "After a boot that left the clean-up marker, removes the update\n"
     "directories that no time-zone link names, and says why it keeps\n"
     "the others. Finishes what a clean cut short left, marker or not.\n"
     "  --dry-run    show what would go, and change nothing\n"
     "  --obsolete   also remove the tz_latest link, and the data set it\n"
     "               names, when no boot will take that data set\n",
     [](const command_arguments& a) {
       return clean_command(a.has("--dry-run"), a.has("--obsolete"));
     }},
    {"install",
     {{"--dry-run"}, {}, 2, 2},
     "install [--dry-run] SOURCE ICU_DIRECTORY",
     "Checks a new time-zone release, its zoneinfo half from SOURCE (a\n"
     "release tarball, a tzdata package or a compiled tree) and its ICU\n"
     "half from ICU_DIRECTORY, and installs it for the next boot.\n"
     "  --dry-run   make every check, show what would be written, and\n"
     "              change nothing\n",
     [](const command_arguments& a) {
       return install_command(a.operands[0], a.operands[1],
                              a.has("--dry-run"));
      }},
    {"setup-image",
     {{"--undo"}, {}, 0, 1},
     "setup-image [--undo] [ROOT]",
     "For an image whose /usr is rebuilt as a whole: moves the zoneinfo\n"
     "tree to /usr/share/zoneinfo.default and links /usr/share/zoneinfo to\n"
     "/var/db/timezone/zoneinfo, writes the ICU schema, and gives ICU\n"
     "readers ICU_TIMEZONE_FILES_DIR. ROOT is the image, / by default.\n"
     "  --undo   restore the tree and remove what setup-image added\n",
     [](const command_arguments& a) {
       return setup_image_command(a.operands.empty() ? "/" : a.operands.front(),
                                  a.has("--undo"));
     }},
};

bool is_help(std::string_view word) { return word == "-h" || word == "--help"; }

void print_general_help() {
  std::printf("usage: mira-tzctl COMMAND [OPTION...]\n");
  for (const command& c : commands)
    std::printf("       mira-tzctl %s\n", c.synopsis);
  std::printf(
      "       mira-tzctl [-h | --help | --version]\n"
      "Run 'mira-tzctl COMMAND --help' for what a command does. See "
      "mira-tzctl(8).\n");
}

int usage_error(const std::string& what, const char* synopsis) {
  warnx("%s", printable(what).c_str());
  std::fprintf(stderr, "usage: mira-tzctl %s\n", synopsis);
  return exit_status::usage;
}

const command* find_command(std::string_view name) {
  for (const command& c : commands)
    if (c.name == name) return &c;
  return nullptr;
}

int run_command(const command& c, std::span<char* const> words) {
  const auto help = std::find_if(words.begin(), words.end(), is_help);
  if (help != words.end() && words.size() > 1)
    return usage_error(std::string(*help) + " takes no arguments", c.synopsis);
  if (help != words.end()) {
    std::printf("usage: mira-tzctl %s\n%s", c.synopsis, c.help);
    return exit_status::ok;
  }
  std::string error;
  const auto arguments = parse_arguments(c.syntax, words, error);
  if (!arguments) return usage_error(error, c.synopsis);
  return c.run(*arguments);
}

// `help COMMAND`: the command's own help; the word it names when unknown.
int help_command(std::span<char* const> words, const char* general) {
  if (words.size() != 1) return usage_error("help takes one command", general);
  const command* c = find_command(words[0]);
  if (!c)
    return usage_error("unknown command " + std::string(words[0]), general);
  char* help_word[] = {const_cast<char*>("--help")};
  return run_command(*c, help_word);
}

int dispatch(std::span<char* const> words) {
  constexpr char general[] = "COMMAND [OPTION...] | --help | --version";
  if (words.empty()) return usage_error("no command given", general);
  const std::string_view first = words[0];
  if (words.size() == 1 && (is_help(first) || first == "help")) {
    print_general_help();
    return exit_status::ok;
  }
  if (words.size() == 1 && first == "--version") {
    std::printf("mira-tzctl %s\n", MIRA_TZLINK_VERSION);
    return exit_status::ok;
  }
  if (first == "help") return help_command(words.subspan(1), general);
  if (const command* c = find_command(first))
    return run_command(*c, words.subspan(1));
  if (is_help(first) || first == "--version")
    return usage_error(std::string(first) + " takes no arguments", general);
  if (first.starts_with('-'))
    return usage_error("unknown option " + std::string(first), general);
  return usage_error("unknown command " + std::string(first), general);
}

}  // namespace

int main(int argc, char** argv) {
  // Under a file-size limit a write fails with EFBIG and gets its line,
  // instead of the signal ending the run without a word.
  signal(SIGXFSZ, SIG_IGN);
  // No signal is caught, so no system call is ever cut short with EINTR:
  // nothing here retries one.
  const int status = dispatch(std::span<char* const>(argv + 1, argc - 1));
  // A report that did not reach its reader is no report: a full disk or a
  // closed pipe on standard output must not pass for success.
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    warn("Cannot write to standard output");
    return exit_status::cannot_run;
  }
  return status;
}
