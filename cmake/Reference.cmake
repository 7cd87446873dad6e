# The target docs: HTML of the public headers, by Doxygen, which fails on any warning. Not a part of
# the usual build; `scripts/setup docs` installs what it needs.
find_program(DOXYGEN_PROGRAM doxygen)
mark_as_advanced(DOXYGEN_PROGRAM)
if(NOT DOXYGEN_PROGRAM)
  return()
endif()

set(KTR_REFERENCE_DIR ${PROJECT_BINARY_DIR}/reference)
list(TRANSFORM KTR_PUBLIC_HEADERS PREPEND "${PROJECT_SOURCE_DIR}/" OUTPUT_VARIABLE reference_files)
list(APPEND reference_files ${PROJECT_SOURCE_DIR}/docs/reference/mainpage.md)
list(TRANSFORM reference_files REPLACE "(.+)" "\"\\1\"" OUTPUT_VARIABLE reference_quoted)
list(JOIN reference_quoted " \\\n                         " KTR_REFERENCE_INPUT)
configure_file(docs/reference/Doxyfile.in Doxyfile @ONLY)

add_custom_target(docs
  COMMAND ${CMAKE_COMMAND} -E make_directory ${KTR_REFERENCE_DIR}
  COMMAND ${DOXYGEN_PROGRAM} ${PROJECT_BINARY_DIR}/Doxyfile
  COMMENT "Reference of the public headers: ${KTR_REFERENCE_DIR}/index.html" VERBATIM)
