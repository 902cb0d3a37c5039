include(GoogleTest)

# Every test takes in the same large headers: they are read once. What is built for a test alone is
# built quickly; what it looks at is built as it is shipped.
set(test_options $<$<CONFIG:RelWithDebInfo>:-O0$<SEMICOLON>-g1>)
file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/test_headers.cpp CONTENT "")
add_library(tapeloop_test_headers STATIC ${CMAKE_BINARY_DIR}/test_headers.cpp)
target_link_libraries(tapeloop_test_headers PRIVATE GTest::gmock GTest::gtest_main)
target_compile_options(tapeloop_test_headers PRIVATE ${test_options})
target_precompile_headers(tapeloop_test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
tapeloop_set_warnings(tapeloop_test_headers)

# One test program. Labels: "unit" needs nothing but the processor, "x11" starts X servers of its
# own, "window" also a window manager and the program, "package" packs the program first. A program
# of tests has one label. Properties of the tests can be added. What needs more than the processor is
# run alone, since it looks at when something comes.
#
#   tapeloop_add_test(capture_tests LABELS unit SOURCES ... LINKS tapeloop::capture ...)
function(tapeloop_add_test name)
  cmake_parse_arguments(test "" "" "LABELS;SOURCES;LINKS;PROPERTIES" ${ARGN})
  add_executable(${name} ${test_SOURCES})
  target_link_libraries(${name} PRIVATE ${test_LINKS} GTest::gmock GTest::gtest_main)
  target_compile_options(${name} PRIVATE ${test_options})
  target_precompile_headers(${name} REUSE_FROM tapeloop_test_headers)
  tapeloop_set_warnings(${name})
  if(NOT test_LABELS STREQUAL "unit")
    list(APPEND test_PROPERTIES RUN_SERIAL ON)
  endif()
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS "${test_LABELS}" TIMEOUT 120
                       ${test_PROPERTIES})
  list(TRANSFORM test_SOURCES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  tapeloop_test_needs("${test_LABELS}" ${name} ${test_SOURCES})
endfunction()

# Tests with this label need this target, in which these sources have tests.
function(tapeloop_test_needs label target)
  string(JOIN " " line ${label} ${target} ${ARGN})
  set_property(GLOBAL APPEND_STRING PROPERTY tapeloop_tests "${line}\n")
endfunction()

# Writes what tapeloop_test_needs() was told, for scripts/test to build no more than that.
function(tapeloop_list_tests file)
  get_property(lines GLOBAL PROPERTY tapeloop_tests)
  file(WRITE ${file} "${lines}")
endfunction()
