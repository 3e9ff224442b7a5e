#pragma once

// The states the measured boots start from, on the real paths (the
// benchmark runs inside the private namespace): the system data set 2019c,
// the update 2020a linked, and the update 2020b beside it, all of ICU
// schema 44l. Throws std::runtime_error when a file cannot be made.

// The data sets themselves, made once.
void make_datasets();

// tz_latest names the linked update: a boot finds nothing to do.
void set_steady_state();
bool steady_state_kept();

// tz_latest names 2020b: a boot moves both data links to it.
void set_activation_state();
bool newer_update_activated();

// A link of its own for `ln -sfn` to replace at every run.
constexpr char scratch_link[] = "/var/db/timezone/bench_link";
constexpr char scratch_link_target[] = "/var/db/timezone/tz/2020a.1.0/zoneinfo";
