# qmio_add_test(<name> [INTERNAL] [MEDIA] [SWEEP] SOURCES <file>... [LIBRARIES <target>...])
#   A GoogleTest executable whose cases are registered with CTest one by one.
#   It sees the built library through include/qmio.h; INTERNAL links the library's insides instead, for unit tests.
#   MEDIA gives it tests/support/media.h and runs it only after the test media have been made.
#   SWEEP lets a case take hours, as the whole of a sweep may (QMIO_SWEEP=all).
include(GoogleTest)
find_package(GTest REQUIRED)

# The library as the program that is linked sees it: from outside, or its insides where the program says QMIO_INTERNAL.
# What tests share calls one or the other, and is compiled once for both.
add_library(qmio_tested INTERFACE)
target_link_libraries(qmio_tested INTERFACE $<IF:$<BOOL:$<TARGET_PROPERTY:QMIO_INTERNAL>>,qmio_internal,qmio>)

# What the thread sanitizer watches. FFmpeg is not built with it, so how the threads of its codecs wait for one another stays
# hidden from it and looks like a race; these tests have threads of ours and none of those, and the locks below them.
set(QMIO_NO_FFMPEG_THREADS
  background_reader_test
  blocked_source_test
  cancel_test
  catalogue_test
  close_test
  codec_lookup_test
  core_test
  handle_test
  platform_posix_test
  platform_test
  published_frames_test
  queue_test
  qmlib_test
  url_test)
add_custom_target(no_ffmpeg_threads)

# Test cases are compiled far longer than they run (30 s for one file under the sanitizers, 5 s like this); what they link
# is built as the preset says.
set(QMIO_TEST_CASE_OPTIONS "$<$<CXX_COMPILER_ID:GNU,Clang>:-O0;$<$<NOT:$<CONFIG:Release>>:-g1>>"
  CACHE STRING "Compiler options of test cases, after those of the preset")
mark_as_advanced(QMIO_TEST_CASE_OPTIONS)

function(qmio_add_test name)
  cmake_parse_arguments(ARG "INTERNAL;MEDIA;SWEEP" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES QMIO_INTERNAL ${ARG_INTERNAL})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} qmio_tested qmio_warnings GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_compile_options(${name} PRIVATE ${QMIO_TEST_CASE_OPTIONS})
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
  set(seconds 600)
  if(ARG_SWEEP)
    set(seconds 10800)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${seconds} ${fixtures} ${labels})
endfunction()
