#pragma once

// The schema search's peak memory on flat icutz directories of 10,000 and
// 1,000,000 entries, against its run on an empty one: it must not grow
// with the number of entries. Prints its rows; throws std::runtime_error
// when a tree cannot be made or a run fails.

#include <string>

// `icu_search` is the search program; trees are made once under `trees`.
void measure_search_memory(const std::string& icu_search,
                           const std::string& trees);
