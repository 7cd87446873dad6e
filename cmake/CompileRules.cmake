# The rules that every target of this tree is compiled with; not part of what is installed.
add_library(ktr_compile_rules INTERFACE)
target_compile_options(ktr_compile_rules INTERFACE -Wall -Wextra -Wpedantic -Werror)
target_compile_definitions(ktr_compile_rules INTERFACE _FILE_OFFSET_BITS=64)
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(ktr_compile_rules INTERFACE -Wthread-safety)
endif()

set(KTR_SANITIZE "" CACHE STRING "Sanitizers for the whole tree: address,undefined or thread")
if(KTR_SANITIZE)
  add_compile_options(-fsanitize=${KTR_SANITIZE} -fno-omit-frame-pointer)
  if(KTR_SANITIZE MATCHES undefined)
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
  add_link_options(-fsanitize=${KTR_SANITIZE})
endif()

option(KTR_COVERAGE "Count the lines that run, for scripts/coverage" OFF)
if(KTR_COVERAGE)
  # Atomic counters: the sessions' threads share them.
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
