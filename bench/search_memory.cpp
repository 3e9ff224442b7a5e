// Run by the bench test; see bench/README.md.
#include "search_memory.h"

#include <sys/stat.h>  // mkdir

#include <cstdio>
#include <stdexcept>
#include <vector>

#include "icutz_trees.h"
#include "interleaved_runs.h"

namespace {

// A million entries take a while to make and to list: few rounds.
constexpr round_budget memory_budget = {3, 20, 5.0};
constexpr int memory_sizes[] = {10000, 1000000};

std::string make_flat_dataset(const std::string& trees, int entries) {
  const std::string dataset = trees + "/memory-" + std::to_string(entries);
  if (mkdir(dataset.c_str(), 0755) != 0)
    throw std::runtime_error("mkdir " + dataset);
  make_flat_tree(dataset + "/icutz", entries);
  return dataset;
}

}  // namespace

void measure_search_memory(const std::string& icu_search,
                           const std::string& trees) {
  const std::string empty = trees + "/memory-empty";
  if (mkdir(empty.c_str(), 0755) != 0)
    throw std::runtime_error("mkdir " + empty);
  std::vector<candidate> candidates = {{"empty", {icu_search, empty}}};
  for (const int entries : memory_sizes)
    candidates.push_back({std::to_string(entries),
                          {icu_search, make_flat_dataset(trees, entries)}});
  const std::vector<sample> s = run_interleaved(candidates, memory_budget);
  std::printf("\n%-28s %6s %12s %12s %10s\n", "ICU SCHEMA SEARCH, memory",
              "runs", "median wall", "peak RSS", "vs empty");
  const long empty_kb = s[0].median_peak_rss_kb();
  for (std::size_t i = 0; i < s.size(); ++i)
    std::printf("flat   %21s %6zu %9.3f ms %9ld kB %+7ld kB\n",
                candidates[i].label.c_str(), s[i].runs.size(), s[i].median_ms(),
                s[i].median_peak_rss_kb(),
                s[i].median_peak_rss_kb() - empty_kb);
}
