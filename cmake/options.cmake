# The compiler settings of the project's targets: tal_options (C++20, warnings as errors) for all of them, and
# tal_instrumentation (the checks of the sanitizers) for what is under test.

set(DESTRUCTIBLES_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")

add_library(tal_options INTERFACE)
target_compile_features(tal_options INTERFACE cxx_std_20)
target_compile_options(tal_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 reports overlapping copies within std::string's operator+ that cannot happen (its bug 105651).
  target_compile_options(tal_options INTERFACE -Wno-restrict)
endif()

add_library(tal_instrumentation INTERFACE)
if(DESTRUCTIBLES_SANITIZE)
  target_compile_options(tal_instrumentation INTERFACE -fsanitize=${DESTRUCTIBLES_SANITIZE}
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # With sanitizers GCC's flow analysis reports values of std::regex that are set; the other builds keep the warning.
    target_compile_options(tal_instrumentation INTERFACE -Wno-maybe-uninitialized)
  endif()
  target_link_options(tal_options INTERFACE -fsanitize=${DESTRUCTIBLES_SANITIZE})
endif()

# Most of the time of a file goes to the headers that it shares with its neighbours.
option(DESTRUCTIBLES_UNITY "Compile the modules and the command line in a few large pieces" ON)
if(DESTRUCTIBLES_UNITY AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Else GCC inlines less in a large piece than file by file, which costs a load of the database 6 %.
  target_compile_options(tal_options INTERFACE --param inline-unit-growth=400)
endif()

find_program(DESTRUCTIBLES_CCACHE ccache)
if(DESTRUCTIBLES_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${DESTRUCTIBLES_CCACHE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Else a precompiled header is another one each time that it is made.
    add_compile_options("SHELL:-Xclang -fno-pch-timestamp")
  endif()
endif()
