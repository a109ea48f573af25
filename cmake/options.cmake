# The compiler settings that every target of the project takes: C++20, warnings as errors, sanitizers on request.

set(DESTRUCTIBLES_SANITIZE "" CACHE STRING "Sanitizers to build with, as -fsanitize takes them")

add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20)
target_compile_options(project_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
if(DESTRUCTIBLES_SANITIZE)
  target_compile_options(project_options INTERFACE -fsanitize=${DESTRUCTIBLES_SANITIZE}
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # With sanitizers GCC's flow analysis reports values of std::regex that are set; the other builds keep the warning.
  target_compile_options(project_options INTERFACE -Wno-maybe-uninitialized)
  target_link_options(project_options INTERFACE -fsanitize=${DESTRUCTIBLES_SANITIZE})
endif()

find_program(DESTRUCTIBLES_CCACHE ccache)
if(DESTRUCTIBLES_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${DESTRUCTIBLES_CCACHE})
endif()
