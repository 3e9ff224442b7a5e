#pragma once

// ICU readers find the data set the boot made current only through
// ICU_TIMEZONE_FILES_DIR: services get it from the system and user
// managers' DefaultEnvironment= drop-ins, logins from /etc/environment,
// which pam_env reads. Both throw what plain_files throws.

class image_tree;

// Writes the drop-ins and adds the line; prints each change.
void set_icu_environment(const image_tree& image);

// Removes what set_icu_environment added, and the drop-in directories
// when they are left empty.
void unset_icu_environment(const image_tree& image);
