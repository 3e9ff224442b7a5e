# Systems with per-file data-protection classes get the real calls; others
# get the stand-in in src/fs/platform.cpp. Only that file sees the result.
include(CheckSymbolExists)
check_symbol_exists(open_dprotected_np "fcntl.h" MIRA_HAVE_OPEN_DPROTECTED_NP)
check_symbol_exists(F_SETPROTECTIONCLASS "fcntl.h" MIRA_HAVE_F_SETPROTECTIONCLASS)
set(MIRA_TZLINK_PLATFORM_DEFINITIONS "")
if(MIRA_HAVE_OPEN_DPROTECTED_NP AND MIRA_HAVE_F_SETPROTECTIONCLASS)
  list(APPEND MIRA_TZLINK_PLATFORM_DEFINITIONS MIRA_HAVE_DATA_PROTECTION=1)
endif()
