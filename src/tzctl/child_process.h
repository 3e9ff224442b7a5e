#pragma once

// The outside programs an install runs (zic, tar, dpkg-deb, icupkg), each
// to its end, with no input and its output thrown away, so that only
// mira-tzctl's own lines reach the operator.

#include <string>
#include <vector>

// The program's path: `name` looked for in PATH, then in /usr/sbin and
// /sbin, where zic and icupkg live; "" when it is nowhere.
std::string find_program(const std::string& name);

// Runs `argv` (argv[0] a path) and waits for it. Its exit status, or 128
// plus the signal that ended it; -1 with errno set when it could not start.
int run_program(const std::vector<std::string>& argv);
