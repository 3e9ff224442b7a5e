#pragma once

// The data-protection calls of the systems this tool boots. Where a system
// has no protection classes, the class is kept as the extended attribute
// "user.protection_class" when the file system allows it. Never writes,
// never throws; the only place that asks what system it is built for.

#include <sys/types.h>  // mode_t

namespace platform {

// Gives the open file `fd` the protection class; failures are ignored.
void set_protection_class(int fd, int protection_class);

// open(2) that gives `protection_class` to a file it creates, and only to
// such a file. Returns a descriptor, or -1 with errno set.
int open_protected(const char* path, int flags, int protection_class,
                   mode_t mode);

}  // namespace platform
