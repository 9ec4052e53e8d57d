# Toolchain file that cross-compiles the macOS edition with Clang 19 and lld against a copy of
# the macOS SDK:
#
#   cmake -S . -B FOLDER -DCMAKE_TOOLCHAIN_FILE=cmake/macos-cross.cmake \
#     -DORVELOS_MACOS_SYSROOT=SYSROOT
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR arm64)

set(ORVELOS_MACOS_SYSROOT "" CACHE PATH "a copy of the macOS SDK")
# Compiler checks are separate projects and do not inherit this variable.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVELOS_MACOS_SYSROOT)
set(CMAKE_OSX_SYSROOT "${ORVELOS_MACOS_SYSROOT}" CACHE PATH "" FORCE)
set(CMAKE_OSX_ARCHITECTURES arm64 CACHE STRING "" FORCE)

set(triple arm64-apple-macos13)
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET ${triple})
endforeach()
find_program(CMAKE_C_COMPILER clang-19 REQUIRED)
find_program(CMAKE_CXX_COMPILER clang++-19 REQUIRED)
set(CMAKE_OBJCXX_COMPILER "${CMAKE_CXX_COMPILER}")
find_program(CMAKE_AR llvm-ar-19 REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib-19 REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-19 REQUIRED)

# @available calls a function of Clang's runtime library for macOS, which Clang on Linux does not
# include. The symbol stays undefined (-U), so the program links but cannot run.
set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-fuse-ld=lld -Wl,-U,___isPlatformVersionAtLeast -Wl,-fatal_warnings")

set(CMAKE_FIND_ROOT_PATH "${ORVELOS_MACOS_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
