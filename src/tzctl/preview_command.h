#pragma once

// mira-tzctl preview: runs the boot tool once in a private view of /var/db
// and prints the lines it wrote and every entry it created, changed or
// removed. Returns the exit status: 0 when it could tell; 1 when the boot
// would write outside /var/db, which the view does not allow; 3 when the
// view cannot be made, the boot tool cannot be run or was killed, or the
// changes cannot be read (after a line saying why).
int preview_command();
