// Run by the bench test; see bench/README.md.
#include "interleaved_runs.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace {
// So that no candidate's figures include the first load of its program
// and libraries into memory.
constexpr int warmup_rounds = 3;
}  // namespace

process_run run_checked(const candidate& c) {
  c.before();
  const process_run run = run_process(c.argv);
  if (!exited_cleanly(run))
    throw std::runtime_error(c.label + ": run failed, wait status " +
                             std::to_string(run.status));
  if (!c.after()) throw std::runtime_error(c.label + ": left the wrong state");
  return run;
}

namespace {

template <typename T>
T median(std::vector<T> values) {
  const auto middle = values.begin() + static_cast<long>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2 == 1) return *middle;
  return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

}  // namespace

double sample::median_ms() const {
  std::vector<double> times;
  for (const process_run& r : runs) times.push_back(r.wall_ms);
  return median(times);
}

long sample::median_peak_rss_kb() const {
  std::vector<long> peaks;
  for (const process_run& r : runs) peaks.push_back(r.max_rss_kb);
  return median(peaks);
}

std::vector<sample> run_interleaved(const std::vector<candidate>& candidates,
                                    const round_budget& budget) {
  for (int round = 0; round < warmup_rounds; ++round)
    for (const candidate& c : candidates) run_checked(c);
  std::vector<sample> samples(candidates.size());
  const auto start = std::chrono::steady_clock::now();
  for (int round = 0; round < budget.most_rounds; ++round) {
    const std::chrono::duration<double> spent =
        std::chrono::steady_clock::now() - start;
    if (round >= budget.least_rounds && spent.count() >= budget.seconds) break;
    for (std::size_t i = 0; i < candidates.size(); ++i)
      samples[i].runs.push_back(run_checked(candidates[i]));
  }
  return samples;
}
