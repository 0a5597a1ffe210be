# Read by CMake after its own rules, for cmake/toolchain-zig-macos.cmake.
set(CMAKE_CXX_COMPILE_OPTIONS_PIE "${CMAKE_CXX_COMPILE_OPTIONS_PIC}")
