# The target cppcheck: cppcheck over the library and the host, which fails on any finding that
# .cppcheck does not name. Not a part of the usual build; `scripts/setup cppcheck` installs it.
find_program(CPPCHECK_PROGRAM cppcheck)
mark_as_advanced(CPPCHECK_PROGRAM)
if(NOT CPPCHECK_PROGRAM)
  return()
endif()

cmake_host_system_information(RESULT processors QUERY NUMBER_OF_LOGICAL_CORES)
set(cppcheck_folders ${KTR_ROOMS} host)
list(TRANSFORM cppcheck_folders REPLACE "(.+)" "--file-filter=${PROJECT_SOURCE_DIR}/\\1/*")

add_custom_target(cppcheck
  COMMAND ${CPPCHECK_PROGRAM} --project=${PROJECT_BINARY_DIR}/compile_commands.json
    ${cppcheck_folders} --enable=warning,style,performance,portability --std=c++20
    --suppressions-list=${PROJECT_SOURCE_DIR}/.cppcheck --inline-suppr
    --error-exitcode=1 --template=gcc --quiet -j ${processors}
  COMMENT "cppcheck over the library and the host" VERBATIM)
