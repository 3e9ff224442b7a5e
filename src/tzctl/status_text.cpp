// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/status_text.h"

#include <cstdio>
#include <optional>
#include <string>

#include "tzctl/printable_text.h"
#include "tzctl/timezone_state.h"

namespace {

void line(const char* label, const std::string& value) {
  std::printf("%-15s %s\n", label, printable(value).c_str());
}

std::string or_none(const std::optional<std::string>& text) {
  return text.value_or("(none)");
}

std::string version_and_schema(const dataset_summary& set) {
  return "version " + set.version + ", schema " +
         (set.schema.empty() ? "(none)" : set.schema);
}

std::string in_use_text(const timezone_state& state) {
  if (!state.in_use) return "(none accepted)";
  const dataset_summary& set = *state.in_use;
  return (set.path.empty() ? "the system data set" : set.path) + ", " +
         version_and_schema(set) +
         (state.in_use_kept ? "" : ", set aside at the next boot");
}

std::string latest_text(const timezone_state& state) {
  const std::optional<latest_summary>& latest = state.latest;
  if (state.non_links.tz_latest)
    return std::string(state.non_links.tz_latest) + ", not a link";
  if (!latest) return "(no tz_latest link)";
  if (!latest->dataset) return "a data set the boot cannot build";
  return latest->dataset->path + ", " + version_and_schema(*latest->dataset) +
         (latest->compatible ? ", compatible" : ", incompatible") +
         (latest->newer ? ", newer" : ", not newer");
}

std::string pending_text(const std::optional<dataset_summary>& pending) {
  if (!pending) return "(none: the next boot keeps the data links)";
  if (pending->path.empty())
    return "resets to the system data set, " + version_and_schema(*pending);
  return "activates " + pending->path + ", " + version_and_schema(*pending);
}

}  // namespace

void print_status_text(const timezone_state& state) {
  line("in use", in_use_text(state));
  line("system", version_and_schema(state.system));
  line("latest", latest_text(state));
  line("pending", pending_text(state.boot.pending));
  line("zoneinfo link", or_none(state.links.zoneinfo));
  line("icutz link", or_none(state.links.icutz));
  line("localtime link", or_none(state.links.localtime));
  line("tz_latest link", or_none(state.links.tz_latest));
  line("links agree", state.links_agree ? "yes" : "no");
  line("localtime", state.localtime_resolves
                        ? "resolves to a regular file"
                        : "does not resolve to a regular file");
  line("record", or_none(state.record));
  line("cleanup marker", state.marker_present ? "present" : "absent");
  line("verdict", state.consistent() ? "consistent" : "inconsistent");
  for (const std::string& problem : state.problems) line("", problem);
}
