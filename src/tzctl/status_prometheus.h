#pragma once

// mira-tzctl status --prometheus [--output FILE]: the state as metrics in
// Prometheus's text format, for node_exporter's textfile collector. The
// names and labels are listed in mira-tzctl(8). Written to standard
// output, or to FILE through a new file beside it and a rename, so that
// the collector never reads half a report. Returns the exit status:
// 0 consistent, 1 not, 3 when the state or FILE cannot be read or
// written (after a line saying so).

#include <string>

class timezone_state;

// The whole text, one family after another, without timestamps.
std::string status_prometheus(const timezone_state& state);

// `output` "" is standard output.
int status_prometheus_command(const std::string& output);

// Rewrites node_exporter's textfile metrics, where the machine has that
// directory, after a command that changed the state; quietly, since the
// command has said what matters and the next boot writes them anyway.
void refresh_textfile_metrics();
