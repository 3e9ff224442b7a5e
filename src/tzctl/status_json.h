#pragma once

// The status for fleet tools on standard output: one JSON object, with
// the keys listed in mira-tzctl(8).

#include <string>
#include <vector>

class timezone_state;

// `warnings`: the model's lines, held back while the state was read.
void print_status_json(const timezone_state& state,
                       const std::vector<std::string>& warnings);
