// Tested by tests/scenarios/tzctl_status.scn.
#include "tzctl/status_json.h"

#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tzctl/timezone_state.h"

namespace {

// Keys stay in the order written, which is the order of the text form.
using json = nlohmann::ordered_json;

json text_or_null(const std::optional<std::string>& text) {
  return text ? json(*text) : json(nullptr);
}

json dataset_json(const dataset_summary& set) {
  json out;
  out["kind"] = set.path.empty() ? "system" : "update";
  out["path"] = set.path.empty() ? json(nullptr) : json(set.path);
  out["version"] = set.version;
  out["schema"] = set.schema.empty() ? json(nullptr) : json(set.schema);
  return out;
}

json in_use_json(const timezone_state& state) {
  if (!state.in_use) return nullptr;
  json out = dataset_json(*state.in_use);
  out["kept"] = state.in_use_kept;
  return out;
}

const char* fate_name(latest_fate fate) {
  switch (fate) {
    case latest_fate::no_link:
      break;
    case latest_fate::activated:
      return "activated";
    case latest_fate::passed_over:
      return "passed_over";
    case latest_fate::breaks_boot:
      return "breaks_boot";
    case latest_fate::not_reached:
      return "not_reached";
  }
  return "no_link";
}

json latest_json(const std::optional<latest_summary>& latest) {
  if (!latest) return nullptr;
  json out;
  out["target"] = latest->target;
  out["dataset"] =
      latest->dataset ? dataset_json(*latest->dataset) : json(nullptr);
  out["compatible"] = latest->compatible;
  out["newer"] = latest->newer;
  out["next_boot"] = fate_name(latest->fate);
  return out;
}

json links_json(const link_targets& links) {
  json out;
  out["zoneinfo"] = text_or_null(links.zoneinfo);
  out["icutz"] = text_or_null(links.icutz);
  out["localtime"] = text_or_null(links.localtime);
  out["tz_latest"] = text_or_null(links.tz_latest);
  return out;
}

}  // namespace

void print_status_json(const timezone_state& state,
                       const std::vector<std::string>& warnings) {
  json out;
  out["format"] = 1;
  out["in_use"] = in_use_json(state);
  out["system"] = dataset_json(state.system);
  out["latest"] = latest_json(state.latest);
  out["pending"] =
      state.boot.pending ? dataset_json(*state.boot.pending) : json(nullptr);
  out["links"] = links_json(state.links);
  out["links_agree"] = state.links_agree;
  out["localtime_resolves"] = state.localtime_resolves;
  out["record"] = text_or_null(state.record);
  out["cleanup_marker"] = state.marker_present;
  out["consistent"] = state.consistent();
  out["problems"] = state.problems;
  out["warnings"] = warnings;
  // Paths are bytes, not always UTF-8: a stray byte becomes U+FFFD rather
  // than ending the report.
  const std::string text =
      out.dump(2, ' ', false, json::error_handler_t::replace);
  std::printf("%s\n", text.c_str());
}
