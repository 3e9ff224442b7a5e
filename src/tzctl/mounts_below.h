#pragma once

// The file systems mounted below a directory that a path there leads to:
// those no later mount hides, each named under `directory` as given, a
// parent before what is mounted in it; none when `directory` is not there.
// Reads /proc/self/mountinfo. Throws int errno after one warning line when
// it cannot tell, or when a file rather than a directory is mounted there,
// which no overlay can cover.

#include <string>
#include <vector>

std::vector<std::string> mounts_below(const std::string& directory);
