# What an image build takes from this project: the binary, its manual, the
# systemd unit that runs it once per boot and the README, installed under
# the GNU directories, and the same tree as a Debian package (cpack -G DEB).
# mira-tzctl comes with them: its manual and the unit of its clean-up.
# Tested by the tests labelled packaging (tests/packaging/).
include(GNUInstallDirs)

set(MIRA_TZLINK_SYSTEMD_UNIT_DIR "lib/systemd/system" CACHE STRING
  "Where the systemd unit is installed, relative to the install prefix")

install(TARGETS mira-tzlink mira-tzctl
  RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(FILES man/mira-tzlink.8 man/mira-tzctl.8
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

# The units name the binaries by their absolute path, so they are
# configured when they are installed: `cmake --install --prefix` and cpack
# choose the prefix then, not at configure time.
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

# The Debian package. cpack installs it with the prefix /usr, so the unit
# inside names /usr/sbin/mira-tzlink, as on the target.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME mira-tzlink)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "mira-tzlink maintainers <maintainers@mira-tzlink.invalid>"
  CACHE STRING "Maintainer field of the Debian package")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "keeps the time-zone data links consistent at boot")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "mira-tzlink runs once at every boot, from mira-tzlink.service, and leaves
the symbolic links under /var/db/timezone/ pointing at one consistent set
of time-zone data: the system's own copy in /usr/share/zoneinfo.default
and /usr/share/icu, or a newer, compatible update installed under
/var/db/timezone/tz/. It never leaves broken links behind, never stops a
boot, and reports in warning lines on standard error.")
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)

if(MIRA_TZLINK_TESTS)
  set(packaging_tests ${PROJECT_SOURCE_DIR}/tests/packaging)
  add_test(NAME packaging_man_lint
    COMMAND ${packaging_tests}/lint_man_page
      ${PROJECT_SOURCE_DIR}/man/mira-tzlink.8)
  add_test(NAME packaging_install_tree
    COMMAND ${packaging_tests}/check_install_tree ${PROJECT_BINARY_DIR})
  add_test(NAME packaging_unit_verify
    COMMAND ${packaging_tests}/verify_unit ${PROJECT_BINARY_DIR})
  add_test(NAME packaging_deb
    COMMAND ${packaging_tests}/check_deb_package ${PROJECT_BINARY_DIR}
      ${PROJECT_VERSION})
  set_tests_properties(packaging_man_lint packaging_install_tree
    packaging_unit_verify packaging_deb PROPERTIES LABELS packaging)
  # All three install from this build tree, where the unit is configured.
  set_tests_properties(packaging_install_tree packaging_unit_verify
    packaging_deb PROPERTIES RESOURCE_LOCK mira_tzlink_install)
endif()
