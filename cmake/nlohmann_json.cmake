# mira-tzctl writes JSON with nlohmann's header-only library. Debian's
# package is used when installed; otherwise the same package is fetched
# with `apt-get download` (no root needed) and unpacked into the build
# tree, so that a machine without it still builds, and nothing is
# installed system-wide. Where neither works, configure stops with the
# install line.
find_package(nlohmann_json 3 QUIET)
if(NOT nlohmann_json_FOUND)
  set(unpacked ${CMAKE_BINARY_DIR}/_deps/nlohmann-json3-dev)
  set(config_dir ${unpacked}/usr/share/cmake/nlohmann_json)
  if(NOT EXISTS ${config_dir}/nlohmann_jsonConfig.cmake)
    file(REMOVE_RECURSE ${unpacked})
    file(MAKE_DIRECTORY ${unpacked})
    message(STATUS "nlohmann-json3-dev is not installed; fetching it with apt-get download")
    execute_process(
      COMMAND sh -c "apt-get download nlohmann-json3-dev && dpkg-deb -x nlohmann-json3-dev_*.deb ."
      WORKING_DIRECTORY ${unpacked}
      RESULT_VARIABLE fetched OUTPUT_QUIET ERROR_VARIABLE fetch_error)
    if(NOT fetched EQUAL 0)
      message(FATAL_ERROR "nlohmann-json3-dev is not installed and could not "
        "be fetched (${fetch_error}). Install it:\n"
        "  apt-get install nlohmann-json3-dev")
    endif()
  endif()
  find_package(nlohmann_json 3 REQUIRED PATHS ${config_dir} NO_DEFAULT_PATH)
endif()
