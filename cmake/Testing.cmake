# One line per test program: orvlog_add_test(NAME SOURCES... [LIBS ...]).
find_package(GTest REQUIRED)
find_package(Python3 3.10 COMPONENTS Interpreter REQUIRED)
include(GoogleTest)

function(orvlog_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
  gtest_discover_tests(${name} TEST_PREFIX "${name}/" PROPERTIES TIMEOUT 120)
endfunction()
