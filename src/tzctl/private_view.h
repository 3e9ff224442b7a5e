#pragma once

// Puts this process in a mount namespace of its own in which /var/db is a
// copy-on-write overlay of the machine's /var/db, its changes kept on a
// memory file system, and so is each directory outside it that a boot
// would write in through a link, and each file system mounted below any
// of them; every other mount is read-only. A boot run there sees what it
// would see, and nothing it does reaches the machine. Without root it
// first makes a user namespace of its own. Throws int errno after one
// warning line.

#include <string>
#include <vector>

// A directory under an overlay, its layers open for reading. The changed
// layer holds exactly what was written there since the view was made, with
// the overlay's marks for removed entries and replaced directories.
struct covered_directory {
  std::string path;
  int original;    // as it was on the machine
  int changed;     // the layer of changes
  int seen;        // as the boot sees it now
  bool read_only;  // as the machine has it mounted
};

// Each list holds a directory before the file systems mounted below it.
struct private_view {
  std::vector<covered_directory> data;  // /var/db first
  std::vector<covered_directory> outside;
};

private_view enter_private_view();
