# Read by CMake after its own rules, for cmake/toolchain-zig-macos.cmake.
set(CMAKE_CXX_COMPILE_OPTIONS_PIE "${CMAKE_CXX_COMPILE_OPTIONS_PIC}")

# zig's own linker knows no list of exported names, so that a library is LLVM's to link. Its C++ is that of the system, as
# on a Mac.
string(REGEX REPLACE "^aarch64" "arm64" target "${ORVANE_MACOS_TARGET}")
string(REPLACE "-macos." "-apple-macosx" target "${target}")
cmake_path(GET ORVANE_ZIG PARENT_PATH zig)
string(CONCAT link "clang++ -target ${target} -fuse-ld=lld -nostdlib -F\"${ORVANE_STUBS}\" -L\"${ORVANE_STUBS}\" "
  "-L\"${zig}/lib/libc/darwin\"")
string(REPLACE "<CMAKE_CXX_COMPILER>" "${link}" CMAKE_CXX_CREATE_MACOSX_FRAMEWORK
  "${CMAKE_CXX_CREATE_MACOSX_FRAMEWORK} -lc++ -lSystem")
