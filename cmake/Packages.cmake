# Debian packages by CPack: libktrstorage0 (library), libktrstorage-dev (development) and ktr (tools).
# `cmake --workflow --preset package` leaves them in build/package.
set(KTR_PACKAGE_CONTACT "ktrstorage maintainers <root@localhost>"
  CACHE STRING "Maintainer named in the packages: Name <address>")

set(library_package libktrstorage0)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ktrstorage)
set(CPACK_PACKAGE_CONTACT ${KTR_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development)
if(TARGET ktr)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION
  "Storage library for network video recorders
Records video, audio and sensor events into plain slice files with an index in
MariaDB, plays them back by time and removes the oldest.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libktrstorage-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${library_package} (= ${PROJECT_VERSION}), libmariadb-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
  "Storage library for network video recorders, development files
The headers, the CMake package and the pkg-config file of libktrstorage.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME ktr)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS "mariadb-server-core, mariadb-client-core")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS
  "ffmpeg, gstreamer1.0-tools, gstreamer1.0-plugins-good, gstreamer1.0-plugins-bad")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
  "Recorder for network video, made with libktrstorage
Records cameras and files, lists what is recorded and plays it back by time,
with a private database server that needs no set-up.")

include(CPack)
