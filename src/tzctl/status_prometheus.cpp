// Tested by tests/scenarios/tzctl_prometheus.scn and
// tests/tzctl/status_prometheus_test.cpp.
#include "tzctl/status_prometheus.h"

#include <err.h>  // warn, warnx
#include <sys/stat.h>  // stat, S_ISDIR

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "dataset/mira_zoneinfo.h"
#include "tzctl/exit_status.h"
#include "tzctl/plain_files.h"
#include "tzctl/printable_text.h"
#include "tzctl/timezone_state.h"
#include "tzctl/warning_lines.h"

namespace {

// A label value in double quotes: the format escapes only these three, and
// wants UTF-8, so a stray byte of a path becomes U+FFFD.
std::string label_value(const std::string& text) {
  std::string out = "\"";
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const std::size_t length = utf8_sequence_length(text, i);
    if (c == '\\' || c == '"') {
      out += {'\\', c};
    } else if (c == '\n') {
      out += "\\n";
    } else if (length == 0) {
      out += "\xef\xbf\xbd";
    } else {
      out += text.substr(i, length);
      i += length - 1;
    }
  }
  return out + "\"";
}

std::string gauge(const char* name, const char* help,
                  const std::string& samples) {
  return std::string("# HELP ") + name + " " + help + "\n# TYPE " + name +
         " gauge\n" + samples;
}

std::string flag(const char* name, const char* help, bool value) {
  return gauge(name, help, std::string(name) + (value ? " 1\n" : " 0\n"));
}

std::string info_sample(const char* role, const dataset_summary& set,
                        const std::string& path) {
  return std::string("mira_tzlink_dataset_info{role=\"") + role +
         "\",path=" + label_value(path) +
         ",version=" + label_value(set.version) +
         ",zoneinfo_version=" + label_value(set.halves.zoneinfo) +
         ",icu_version=" + label_value(set.halves.icu) +
         ",icu_schema=" + label_value(set.schema) + "} 1\n";
}

std::string path_of(const dataset_summary& set) {
  return set.path.empty() ? mira_zoneinfo::system_directory : set.path;
}

std::string dataset_info(const timezone_state& state) {
  std::string samples;
  if (state.in_use)
    samples += info_sample("in_use", *state.in_use, path_of(*state.in_use));
  samples += info_sample("system", state.system, path_of(state.system));
  if (state.latest)
    samples +=
        info_sample("latest", state.latest->dataset.value_or(dataset_summary{}),
                    state.latest->target);
  return gauge("mira_tzlink_dataset_info",
               "The data set in use, the system's, and the one tz_latest "
               "names, by their labels; always 1.",
               samples);
}

bool update_pending(const timezone_state& state) {
  return state.latest && state.latest->fate == latest_fate::activated;
}

int write_report(const std::string& text, const std::string& output) {
  if (output.empty()) {
    std::fputs(text.c_str(), stdout);
    return exit_status::ok;
  }
  try {
    plain_files::write_file(output, text);
  } catch (int) {  // plain_files has written its line
    warnx("Cannot write the metrics to %s", output.c_str());
    return exit_status::cannot_run;
  }
  return exit_status::ok;
}

std::string consistent_flag(bool consistent) {
  return flag("mira_tzlink_consistent",
              "1 when the time-zone links are consistent, as mira-tzctl "
              "status judges them.",
              consistent);
}

}  // namespace

std::string status_prometheus(const timezone_state& state) {
  return consistent_flag(state.consistent()) +
         flag("mira_tzlink_update_pending",
              "1 when the next boot activates the update that tz_latest "
              "names.",
              update_pending(state)) +
         flag("mira_tzlink_cleanup_pending",
              "1 when the clean-up marker is present.", state.marker_present) +
         flag("mira_tzlink_links_agree",
              "1 when the zoneinfo and icutz links name one data set.",
              state.links_agree) +
         flag("mira_tzlink_versions_agree",
              "1 when the zoneinfo and ICU versions of the data set in use "
              "are known and agree.",
              state.versions_agree.value_or(false)) +
         flag("mira_tzlink_localtime_resolves",
              "1 when the localtime link resolves to a regular file.",
              state.localtime_resolves) +
         gauge("mira_tzlink_problems",
               "The number of problems mira-tzctl status lists.",
               "mira_tzlink_problems " + std::to_string(state.problems.size()) +
                   "\n") +
         dataset_info(state);
}

int status_prometheus_command(const std::string& output) {
  std::optional<timezone_state> state;
  try {
    state.emplace();
  } catch (...) {  // what failed has written its line
    warn("Cannot read the time-zone state");
    // Only the verdict, 0: a file left from an earlier run must not go on
    // saying 1 about a state that can no longer be read.
    (void)write_report(consistent_flag(false), output);
    return exit_status::cannot_run;
  }
  const int written = write_report(status_prometheus(*state), output);
  if (written != exit_status::ok) return written;
  return state->consistent() ? exit_status::ok : exit_status::not_done;
}

void refresh_textfile_metrics() {
  constexpr char directory[] = "/var/lib/prometheus/node-exporter";
  struct stat status;
  if (stat(directory, &status) != 0 || !S_ISDIR(status.st_mode)) return;
  std::vector<std::string> held;
  const warning_collector quiet(held);
  const std::string path = std::string(directory) + "/mira_tzlink.prom";
  std::string report;
  try {
    report = status_prometheus(timezone_state());
  } catch (...) {  // the state cannot be read: not consistent, as above
    report = consistent_flag(false);
  }
  try {
    plain_files::write_file(path, report);
  } catch (int) {  // best effort: the boot's unit writes them again
  }
}
