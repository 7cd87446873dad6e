# The headers that are installed: those of the library rooms, in the same tree, but for the ones
# that only the library's own sources need.
set(KTR_ROOMS runtime containers store db tables handles recording playback)
set(KTR_INTERNAL_HEADERS
  runtime/KTSpdlogSink.h
  runtime/LoadOrder.h
  runtime/PrintfText.h
  db/KTROwnedResult.h
  tables/KTRFirstText.h
  recording/SlicePlan.h)

set(KTR_PUBLIC_HEADERS)
foreach(room ${KTR_ROOMS})
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/${room}/*.h)
  list(APPEND KTR_PUBLIC_HEADERS ${headers})
endforeach()
foreach(header ${KTR_INTERNAL_HEADERS})
  if(NOT header IN_LIST KTR_PUBLIC_HEADERS)
    message(FATAL_ERROR "there is no ${header}: correct cmake/PublicHeaders.cmake")
  endif()
endforeach()
list(REMOVE_ITEM KTR_PUBLIC_HEADERS ${KTR_INTERNAL_HEADERS})
