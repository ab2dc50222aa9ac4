# qmio_add_test(<name> [INTERNAL] [MEDIA] SOURCES <file>... [LIBRARIES <target>...])
#   A GoogleTest executable whose cases are registered with CTest one by one.
#   It sees the built library through include/qmio.h; INTERNAL links the library's insides instead, for unit tests.
#   MEDIA gives it tests/support/media.h and runs it only after the test media have been made.
include(GoogleTest)
find_package(GTest REQUIRED)

# The library as the program that is linked sees it: from outside, or its insides where the program says QMIO_INTERNAL.
# What tests share calls one or the other, and is compiled once for both.
add_library(qmio_tested INTERFACE)
target_link_libraries(qmio_tested INTERFACE $<IF:$<BOOL:$<TARGET_PROPERTY:QMIO_INTERNAL>>,qmio_internal,qmio>)

# What the thread sanitizer watches. FFmpeg is not built with it, so how the threads of its codecs wait for one another stays
# hidden from it and looks like a race; these tests have threads of ours and none of those, and the locks below them.
set(QMIO_NO_FFMPEG_THREADS
  cancel_test
  catalogue_test
  close_test
  codec_lookup_test
  core_test
  handle_test
  platform_posix_test
  platform_test
  published_frames_test
  qmlib_test
  url_test)
add_custom_target(no_ffmpeg_threads)

function(qmio_add_test name)
  cmake_parse_arguments(ARG "INTERNAL;MEDIA" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES QMIO_INTERNAL ${ARG_INTERNAL})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} qmio_tested qmio_warnings GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  set(fixtures "")
  if(ARG_MEDIA)
    target_link_libraries(${name} PRIVATE qmio_test_media)
    set(fixtures FIXTURES_REQUIRED media)
  endif()
  set(labels "")
  if(name IN_LIST QMIO_NO_FFMPEG_THREADS)
    add_dependencies(no_ffmpeg_threads ${name})
    set(labels LABELS no-ffmpeg-threads)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 600 ${fixtures} ${labels})
endfunction()
