# What an image build takes from this project: the binary, its manual, the
# systemd unit that runs it once per boot and the README, installed under
# the GNU directories, with mira-tzctl, its manual and the unit of its
# clean-up. debian/ packages this same tree.
# Tested by the tests labelled packaging (tests/packaging/).
include(GNUInstallDirs)

set(MIRA_TZLINK_SYSTEMD_UNIT_DIR "lib/systemd/system" CACHE STRING
  "Where the systemd unit is installed: relative to the install prefix, or absolute")

install(TARGETS mira-tzlink mira-tzctl
  RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(FILES man/mira-tzlink.8 man/mira-tzctl.8
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The units name the binaries by their absolute path, so they are
# configured when they are installed: `cmake --install --prefix`
# chooses the prefix then, not at configure time.
foreach(unit mira-tzlink.service mira-tzctl-clean.service)
  set(configured_unit ${CMAKE_CURRENT_BINARY_DIR}/dist/${unit})
  install(CODE "
    set(MIRA_TZLINK_SBINDIR [[${CMAKE_INSTALL_SBINDIR}]])
    if(NOT IS_ABSOLUTE \"\${MIRA_TZLINK_SBINDIR}\")
      set(MIRA_TZLINK_SBINDIR \"\${CMAKE_INSTALL_PREFIX}/\${MIRA_TZLINK_SBINDIR}\")
    endif()
    configure_file([[${CMAKE_CURRENT_SOURCE_DIR}/dist/${unit}.in]]
                   [[${configured_unit}]] @ONLY)
  ")
  install(FILES ${configured_unit}
    DESTINATION ${MIRA_TZLINK_SYSTEMD_UNIT_DIR})
endforeach()


# On an image set up by `mira-tzctl setup-image`, the line that makes
# /var/db/timezone/zoneinfo on a first boot, before anything reads
# /usr/share/zoneinfo through it.
set(MIRA_TZLINK_TMPFILES_DIR "lib/tmpfiles.d" CACHE STRING
  "Where the tmpfiles.d line is installed: relative to the install prefix, or absolute")
install(FILES dist/mira-tzlink.tmpfiles
  DESTINATION ${MIRA_TZLINK_TMPFILES_DIR} RENAME mira-tzlink.conf)
