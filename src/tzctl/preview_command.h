#pragma once

// mira-tzctl preview: runs the boot tool once in a private view of /var/db
// and prints the lines it wrote and every entry it created, changed or
// removed. Returns the exit status: 0 when it could tell, 3 when the view
// cannot be made or the boot tool cannot be run (after a line saying why).
int preview_command();
