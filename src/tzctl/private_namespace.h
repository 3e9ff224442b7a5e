#pragma once

// Puts this process in a mount namespace of its own, from which nothing
// mounted propagates to the machine's. Without root it first makes a user
// namespace of its own, mapping itself to its root. Returns whether it
// had to: the machine's mounts are then locked in place. Throws int errno
// after one warning line.
bool enter_private_namespace();
