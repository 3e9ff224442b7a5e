#pragma once

// Gives /var/db/timezone/ and /var/db/timezone/tz/ protection class 4 at
// every boot. A missing directory is passed over; never writes or throws.
void prepare_directories();
