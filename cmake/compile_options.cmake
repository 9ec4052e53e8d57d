# Compile options of our own code, not of libraries.
add_library(orvel_options INTERFACE)
target_compile_options(orvel_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast -Wcast-qual -Wformat=2 -Wundef -Wimplicit-fallthrough
  -fvisibility=hidden)

# A unity build includes sources, so GCC takes their unnamed namespaces for those of headers.
if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(orvel_options INTERFACE -Wno-subobject-linkage)
endif()

# Checks the preconditions of the C++ library, such as the bounds of an index.
add_compile_definitions("$<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>")

# Makes a release independent of the path of its sources.
add_compile_options("$<$<CONFIG:Release>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.>")

set(ORVELOS_SANITIZE "" CACHE STRING "sanitizers to build with, for -fsanitize=")
if(ORVELOS_SANITIZE)
  add_compile_options(-fsanitize=${ORVELOS_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ORVELOS_SANITIZE})
  if(ORVELOS_SANITIZE MATCHES undefined)
    # -fsanitize=vptr checks whether memory is readable by means of a pipe, which fails in the
    # tests that run out of file descriptors.
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()
