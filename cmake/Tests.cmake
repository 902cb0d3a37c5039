include(GoogleTest)

# One test program. Labels: "unit" needs nothing but the processor, "x11" starts X servers of its
# own, "window" also a window manager and the program, "package" packs the program first. A program
# of tests has one label. Properties of the tests can be added.
#
#   tapeloop_add_test(capture_tests LABELS unit SOURCES ... LINKS tapeloop::capture ...)
function(tapeloop_add_test name)
  cmake_parse_arguments(test "" "" "LABELS;SOURCES;LINKS;PROPERTIES" ${ARGN})
  add_executable(${name} ${test_SOURCES})
  target_link_libraries(${name} PRIVATE ${test_LINKS} GTest::gmock GTest::gtest_main)
  tapeloop_set_warnings(${name})
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES LABELS "${test_LABELS}" TIMEOUT 120
                       ${test_PROPERTIES})
endfunction()
