#pragma once

// The warning lines the data set model writes while the state is read,
// held back for `status --json`, which reports them in its object rather
// than on standard error.

#include <functional>
#include <string>
#include <vector>

// Runs `action` with standard error sent to a memory file, and returns the
// lines written there, each distinct line once, in the order first
// written. Lines that cannot be held back go to standard error as ever.
// `action` must not throw.
std::vector<std::string> warnings_of(const std::function<void()>& action);
