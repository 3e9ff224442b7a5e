#pragma once

// File-system states in the compact form that tests and scenarios share,
// one entry a line, paths absolute:
//   file PATH "content" [MODE]     content in C escapes (\n \t \\ \" \xHH)
//   dir PATH [MODE]
//   link PATH -> TARGET             TARGET raw, or "quoted" with escapes
// Parent directories are implied. Only ever used inside the sandbox.

#include <string>

// Creates every entry of `description`; a test fails on any error.
void build_state(const std::string& description);

// Everything below `root`, sorted by path, one entry a line, in the form
// above. Directories appear only when empty or of a mode other than 0755;
// files carry their mode only when it is not 0644.
std::string read_state(const std::string& root = "/var/db");

// Empties /var and /usr/share, so that every test starts from nothing.
void clear_state();

// Content of a quoted field (the quotes included) with its escapes undone.
std::string unquote(const std::string& quoted);
