# Installation (both programs and their manual pages) and the Debian package made by
# `cpack` in the build directory: amd64 from a native build, armhf from the
# cross build (cmake/arm-linux-gnueabihf.cmake).
include(GNUInstallDirs)
install(TARGETS zelconv zelconv-import RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/zelconv.1 ${PROJECT_SOURCE_DIR}/zelconv-import.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zelconv)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "zelconv maintainers <maintainers@users.noreply.c-seed-2879d2bc.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "converts perf.data recordings into JSON documents for a viewer")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "zelconv reads a perf.data file written by perf record on a 32-bit ARM Linux\n device and writes a profile or timechart document for a browser-based viewer.\n zelconv-import rewrites recordings of newer perf (3.16 to 6.x, to a file or\n through a pipe) into the layout zelconv reads.")
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# nm gives the symbols of mapped files, perf makes the recordings.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "binutils, linux-perf")
set(CPACK_STRIP_FILES ON)
if(CMAKE_CROSSCOMPILING)
  # The cross build is static: no run-time dependencies, and dpkg-shlibdeps
  # cannot read a foreign binary anyway.
  if(CMAKE_LIBRARY_ARCHITECTURE STREQUAL "arm-linux-gnueabihf")
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
  endif()
else()
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
