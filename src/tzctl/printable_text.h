#pragma once

// Bytes from the file system shown on one line: a link target, a record
// or a file's content may hold any byte, and a control byte must not
// break the line it is shown on.

#include <string>

// `text` with a line end as \n and every other control byte, and each
// byte of `also`, as \xHH.
std::string printable(const std::string& text, const std::string& also = "");
