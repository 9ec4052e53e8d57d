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

# Hardening of optimised builds against memory errors. A sanitizer replaces most of it.
if(NOT ORVELOS_SANITIZE)
  set(is_optimised "$<OR:$<CONFIG:Release>,$<CONFIG:RelWithDebInfo>>")
  set(hardening -fstack-protector-strong)
  if(APPLE)
    # Only the stack protector. The linker makes programs position-independent by itself.
  else()
    set(CMAKE_POSITION_INDEPENDENT_CODE ON)
    # Some compilers define _FORTIFY_SOURCE themselves.
    list(APPEND hardening -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS
         -fstack-clash-protection)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|amd64")
      list(APPEND hardening -fcf-protection)
    endif()
    # All symbols are bound at the start, and their table is then read-only.
    add_link_options("$<${is_optimised}:-pie;-Wl,-z,relro,-z,now>")
  endif()
  add_compile_options("$<${is_optimised}:${hardening}>")
endif()

# Makes a release independent of the path of its sources.
add_compile_options("$<$<CONFIG:Release>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.>")

set(ORVELOS_SANITIZE "" CACHE STRING "sanitizers to build with, for -fsanitize=")
if(ORVELOS_SANITIZE)
  add_compile_options(-fsanitize=${ORVELOS_SANITIZE} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ORVELOS_SANITIZE})
  if(ORVELOS_SANITIZE MATCHES undefined)
    # -fsanitize=vptr creates a pipe to check whether memory is readable, which fails in the tests
    # that run out of file descriptors.
    add_compile_options(-fno-sanitize=vptr)
  endif()
endif()

find_program(CCACHE ccache)
if(CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()
