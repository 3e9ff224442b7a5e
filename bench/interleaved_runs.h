#pragma once

// Candidates run in turns, round after round, so that a change of machine
// load during the benchmark falls on all of them alike.

#include <functional>
#include <string>
#include <vector>

#include "process_run.h"

struct candidate {
  std::string label;
  std::vector<std::string> argv;
  // Untimed, around each run: puts the state in place, then says whether
  // the run did its job. A run that did not makes the benchmark fail.
  std::function<void()> before = [] {};
  std::function<bool()> after = [] { return true; };
};

struct sample {
  std::vector<process_run> runs;

  double median_ms() const;
  // Each run's peak, its ru_maxrss; the median over runs, so that one odd
  // run's page faults do not stand for the program.
  long median_peak_rss_kb() const;
};

// One run of `c` with its state put in place and checked afterwards.
// Throws std::runtime_error naming the candidate whose run failed or left
// the wrong state.
process_run run_checked(const candidate& c);

// How long to measure: rounds go on until both the least number of rounds
// and the time budget are reached, or the most rounds are.
struct round_budget {
  int least_rounds;
  int most_rounds;
  double seconds;
};

// A few warm-up rounds come first; they are checked too, but not kept.
std::vector<sample> run_interleaved(const std::vector<candidate>& candidates,
                                    const round_budget& budget);
