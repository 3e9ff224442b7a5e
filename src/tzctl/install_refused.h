#pragma once

// What a refused install throws once its one line is written: a check
// failed, or a step under /var/db could not be done. install_command
// catches it and exits 1; nothing else catches it.
struct install_refused {};
