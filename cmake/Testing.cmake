# Test-only dependencies. Where one is missing, its tests are skipped and a line names its package.
function(orvlog_skip what tests package)
  message(STATUS "${what} not found: ${tests} skipped (package ${package})")
endfunction()

find_package(Python3 3.9 COMPONENTS Interpreter)
if(NOT Python3_Interpreter_FOUND)
  orvlog_skip("Python 3.9" "the tests of documents, completions and the sample server are" python3)
endif()

# Only an optimised build calls nothing of the C++ library that it could inline.
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(ORVLOG_OPTIMIZED OFF)
  message(STATUS "Build without optimisation: the tests of imports and embedding are skipped")
else()
  set(ORVLOG_OPTIMIZED ON)
endif()

# GoogleTest's files for CMake stop the configuration where gmock is missing, so that is looked for first.
find_library(GMOCK_LIBRARY gmock)
if(GMOCK_LIBRARY)
  find_package(GTest CONFIG QUIET)
endif()
if(GTest_FOUND)
  include(GoogleTest)
else()
  orvlog_skip(GoogleTest "the tests in C++ are" libgmock-dev)
endif()

# One line per test program: orvlog_add_test(NAME SOURCES ... [LIBS ...]). Its target is orvlog_NAME.
function(orvlog_add_test name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBS" ${ARGN})
  set(target orvlog_${name})
  add_executable(${target} ${arg_SOURCES})
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${name})
  target_link_libraries(
    ${target} PRIVATE orvlog::build ${arg_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
  # Optimising the assertions takes longer than running them. What is tested keeps the options that it ships with.
  target_compile_options(${target} PRIVATE -O0)
  gtest_discover_tests(${target} TEST_PREFIX "${name}/" PROPERTIES TIMEOUT 120)
endfunction()

# Classes of Python tests in the current directory, each a test: orvlog_add_python_tests(FILE.CLASS...). They can import
# tests/e2e/harness.py, which reads the variables, and the simulator's modules.
function(orvlog_add_python_tests)
  get_filename_component(group ${CMAKE_CURRENT_SOURCE_DIR} NAME)
  set(variables
      BUILD=${PROJECT_BINARY_DIR}
      ROOT=${PROJECT_SOURCE_DIR}
      PYTHONPATH=${PROJECT_SOURCE_DIR}/tests/e2e:${PROJECT_SOURCE_DIR}/simulator
      FAULTS=$<TARGET_FILE:orvlog_faults>
      SANITIZE=${ORVLOG_SANITIZE})
  foreach(test IN LISTS ARGN)
    string(REGEX REPLACE "^[a-z_]+[.]" "${group}/" name ${test})
    add_test(NAME ${name} COMMAND Python3::Interpreter -B -m unittest -v ${test} WORKING_DIRECTORY
                                                                                ${CMAKE_CURRENT_SOURCE_DIR})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600 ENVIRONMENT "${variables}")
  endforeach()
endfunction()
