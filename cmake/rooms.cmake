# A room is one folder of lib/: its objects are compiled once, position independent, and serve both its static
# library and the shared libraries.
#
#   add_room(NAME SOURCES a.cpp b.cpp [DEPENDS room...] [THIRD_PARTY target...])
#
# DEPENDS names the rooms below; THIRD_PARTY the libraries that only the room's implementation knows.
function(add_room NAME)
  cmake_parse_arguments(ROOM "" "" "SOURCES;DEPENDS;THIRD_PARTY" ${ARGN})
  add_library(${NAME}_objects OBJECT ${ROOM_SOURCES})
  set_target_properties(${NAME}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_include_directories(${NAME}_objects PUBLIC ${PROJECT_SOURCE_DIR}/lib)
  target_link_libraries(${NAME}_objects PRIVATE project_options ${ROOM_THIRD_PARTY})

  add_library(${NAME} STATIC $<TARGET_OBJECTS:${NAME}_objects>)
  target_include_directories(${NAME} PUBLIC ${PROJECT_SOURCE_DIR}/lib)
  target_link_libraries(${NAME} PUBLIC ${ROOM_DEPENDS} PRIVATE ${ROOM_THIRD_PARTY})
  target_compile_features(${NAME} PUBLIC cxx_std_20)
endfunction()

# How a test's own code, and what of the rooms' headers it compiles, is compiled: fast. In the rooms' sources every check
# of the sanitizers stays; in a test's, a crash tells as much as the three that are left out, which would take half of its
# compilation.
set(TEST_COMPILE_OPTIONS -O0 -g0)
if(DESTRUCTIBLES_SANITIZE MATCHES "undefined")
  list(APPEND TEST_COMPILE_OPTIONS -fno-sanitize=null,alignment,vptr)
endif()

# A test program of one folder of tests/; every TEST in it becomes a test of its own.
#
#   add_room_tests(NAME SOURCES a_test.cpp [LIBRARIES target...])
function(add_room_tests NAME)
  cmake_parse_arguments(TESTS "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${NAME} ${TESTS_SOURCES})
  target_include_directories(${NAME} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${NAME} PRIVATE project_options ${TESTS_LIBRARIES} GTest::gmock GTest::gtest_main)
  # Most of the time of a test's compilation goes to these headers.
  if(NOT TARGET test_headers)
    file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/test_headers.cpp CONTENT "// What all tests include, precompiled.\n")
    add_library(test_headers OBJECT ${PROJECT_BINARY_DIR}/test_headers.cpp)
    target_link_libraries(test_headers PRIVATE project_options GTest::gmock)
    target_precompile_headers(test_headers PRIVATE <gmock/gmock.h> <gtest/gtest.h> <algorithm> <filesystem>
                              <functional> <map> <memory> <string> <vector>)
    target_compile_options(test_headers PRIVATE ${TEST_COMPILE_OPTIONS})
  endif()
  target_precompile_headers(${NAME} REUSE_FROM test_headers)
  target_compile_options(${NAME} PRIVATE ${TEST_COMPILE_OPTIONS})
  set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  gtest_discover_tests(${NAME} TEST_PREFIX "${NAME}: " DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 300)
endfunction()
