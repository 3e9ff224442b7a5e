#pragma once

// mira-tzctl install: brings a new release onto the machine, its zoneinfo
// half from SOURCE and its ICU half from ICU_DIRECTORY, checked against
// each other and the system before anything under /var/db changes, and
// publishes it for the next boot. Exit 0 when installed (or already), 1
// when a check or a step failed.

#include <string>

int install_command(const std::string& source,
                    const std::string& icu_directory, bool dry_run);
