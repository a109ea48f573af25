# A module is one folder of lib/: its objects are compiled once, position independent, and serve both its static
# library tal_NAME and the shared libraries.
#
#   add_module(NAME SOURCES a.cpp b.cpp [DEPENDS module...] [THIRD_PARTY target...])
#
# DEPENDS names the modules below; THIRD_PARTY the libraries that only the module's implementation knows.
function(add_module NAME)
  cmake_parse_arguments(MODULE "" "" "SOURCES;DEPENDS;THIRD_PARTY" ${ARGN})
  list(TRANSFORM MODULE_DEPENDS PREPEND tal_)
  add_library(tal_${NAME}_objects OBJECT ${MODULE_SOURCES})
  set_target_properties(tal_${NAME}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON
    UNITY_BUILD ${DESTRUCTIBLES_UNITY} UNITY_BUILD_BATCH_SIZE 8)
  target_include_directories(tal_${NAME}_objects PUBLIC ${PROJECT_SOURCE_DIR}/lib)
  target_link_libraries(tal_${NAME}_objects PRIVATE tal_options tal_instrumentation ${MODULE_THIRD_PARTY})

  add_library(tal_${NAME} STATIC $<TARGET_OBJECTS:tal_${NAME}_objects>)
  target_include_directories(tal_${NAME} PUBLIC ${PROJECT_SOURCE_DIR}/lib)
  target_link_libraries(tal_${NAME} PUBLIC ${MODULE_DEPENDS} PRIVATE ${MODULE_THIRD_PARTY})
  target_compile_features(tal_${NAME} PUBLIC cxx_std_20)
endfunction()

# How a test's own code is compiled: fast, and with the checks of the sanitizers only where it is told to be. In code
# that lives in headers, three of them would take half of the compilation and tell no more than a crash does.
set(TEST_COMPILE_OPTIONS -O0 -g0)
set(INSTRUMENTED_TEST_COMPILE_OPTIONS ${TEST_COMPILE_OPTIONS})
if(DESTRUCTIBLES_SANITIZE MATCHES "undefined")
  list(APPEND INSTRUMENTED_TEST_COMPILE_OPTIONS -fno-sanitize=null,alignment,vptr)
endif()

# Most of the time of a test's compilation goes to these headers. Makes the target NAME, which precompiles them.
function(add_test_headers NAME)
  file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/${NAME}.cpp CONTENT "// What all tests include, precompiled.\n")
  add_library(${NAME} OBJECT ${PROJECT_BINARY_DIR}/${NAME}.cpp)
  target_link_libraries(${NAME} PRIVATE tal_options GTest::gmock)
  target_precompile_headers(${NAME} PRIVATE <gmock/gmock.h> <gtest/gtest.h> <algorithm> <filesystem>
                            <functional> <map> <memory> <string> <vector>)
endfunction()

# A test program of one folder of tests/; every TEST in it becomes a test of its own.
#
#   add_tests(NAME [INSTRUMENTED] SOURCES a_test.cpp [LIBRARIES target...])
#
# INSTRUMENTED is for tests of code that lives in headers. The thread sanitizer has to see all code that runs.
function(add_tests NAME)
  cmake_parse_arguments(TESTS "INSTRUMENTED" "" "SOURCES;LIBRARIES" ${ARGN})
  if(DESTRUCTIBLES_SANITIZE MATCHES "thread")
    set(TESTS_INSTRUMENTED ON)
  endif()
  add_executable(tal_${NAME} ${TESTS_SOURCES})
  target_include_directories(tal_${NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(tal_${NAME} PRIVATE tal_options ${TESTS_LIBRARIES} GTest::gmock GTest::gtest_main)
  if(TESTS_INSTRUMENTED)
    set(headers tal_instrumented_test_headers)
    set(options ${INSTRUMENTED_TEST_COMPILE_OPTIONS})
    target_link_libraries(tal_${NAME} PRIVATE tal_instrumentation)
  else()
    set(headers tal_test_headers)
    set(options ${TEST_COMPILE_OPTIONS})
  endif()
  if(NOT TARGET ${headers})
    add_test_headers(${headers})
    target_compile_options(${headers} PRIVATE ${options})
    if(TESTS_INSTRUMENTED)
      target_link_libraries(${headers} PRIVATE tal_instrumentation)
    endif()
  endif()
  target_precompile_headers(tal_${NAME} REUSE_FROM ${headers})
  target_compile_options(tal_${NAME} PRIVATE ${options})
  set_target_properties(tal_${NAME} PROPERTIES OUTPUT_NAME ${NAME}
    RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  gtest_discover_tests(tal_${NAME} TEST_PREFIX "${NAME}: " DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 300)
endfunction()

# Makes the tests of a program that are cases, in files NAME.cases of folders, be discovered anew when these change.
#
#   discover_cases(NAME FOLDER...)
function(discover_cases NAME)
  list(TRANSFORM ARGN APPEND /*.cases OUTPUT_VARIABLE patterns)
  file(GLOB cases CONFIGURE_DEPENDS ${patterns})
  set_property(TARGET tal_${NAME} APPEND PROPERTY LINK_DEPENDS ${cases})
endfunction()
