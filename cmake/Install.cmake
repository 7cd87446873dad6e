# What `cmake --install` writes, in three components: library, development (headers, CMake package,
# pkg-config file) and tools (ktr with its pages). Nothing in it holds the prefix, so that a staged
# or moved tree works as it is.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ktrstorage)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS ktrstorage EXPORT ktrstorageTargets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ktr COMPONENT development)
install(EXPORT ktrstorageTargets NAMESPACE ktr:: DESTINATION ${package_dir} COMPONENT development)

configure_package_config_file(cmake/ktrstorageConfig.cmake.in ktrstorageConfig.cmake
  INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(ktrstorageConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ktrstorageConfig.cmake
  ${PROJECT_BINARY_DIR}/ktrstorageConfigVersion.cmake cmake/FindMariaDBClient.cmake
  DESTINATION ${package_dir} COMPONENT development)

file(RELATIVE_PATH KTR_PC_PREFIX /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" KTR_PC_PREFIX "${KTR_PC_PREFIX}")
configure_file(cmake/ktrstorage.pc.in ktrstorage.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ktrstorage.pc DESTINATION ${pkgconfig_dir} COMPONENT development)

install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  PATTERN Doxyfile.in EXCLUDE)

if(TARGET ktr)
  # The library's place as seen from the program's.
  file(RELATIVE_PATH library_from_program /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(ktr PROPERTIES INSTALL_RPATH "$ORIGIN/${library_from_program}")
  install(TARGETS ktr COMPONENT tools)
endif()
