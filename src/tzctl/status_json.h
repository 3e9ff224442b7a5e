#pragma once

// The status for fleet tools on standard output: one JSON object, with
// the keys listed in mira-tzctl(8).

class timezone_state;

void print_status_json(const timezone_state& state);
