# Builds for macOS on another system: zig brings Darwin's C headers, libSystem's symbols and a C++ library of its own.
# ORVANE_ZIG is the compiler's path, ORVANE_MACOS_TARGET what it builds for, ORVANE_STUBS the folder of what stands in for
# Apple's libraries; script/cross-build gives them.
set(CMAKE_SYSTEM_NAME Darwin)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR "${ORVANE_MACOS_TARGET}")

set(CMAKE_C_COMPILER "${ORVANE_ZIG}" cc -target "${ORVANE_MACOS_TARGET}")
set(CMAKE_CXX_COMPILER "${ORVANE_ZIG}" c++ -target "${ORVANE_MACOS_TARGET}")
set(CMAKE_OBJCXX_COMPILER ${CMAKE_CXX_COMPILER})
find_program(CMAKE_AR llvm-ar REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib REQUIRED)
execute_process(COMMAND llvm-config --bindir OUTPUT_VARIABLE bin OUTPUT_STRIP_TRAILING_WHITESPACE)
find_program(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool HINTS "${bin}" REQUIRED)

# What trials would find out, were zig not to refuse some of their options. Those that link would also have the C++
# library built in one more variant.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVANE_ZIG ORVANE_MACOS_TARGET ORVANE_STUBS)
execute_process(COMMAND "${ORVANE_ZIG}" c++ --version OUTPUT_VARIABLE version COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "^clang version ([0-9.]+).*" "\\1" version "${version}")
set(CMAKE_SIZEOF_VOID_P 8)
set(CMAKE_CXX_STANDARD_COMPUTED_DEFAULT 17)
set(CMAKE_OBJCXX_STANDARD_COMPUTED_DEFAULT 17)
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_ID_RUN TRUE)
  set(CMAKE_${language}_COMPILER_ID Clang)
  set(CMAKE_${language}_COMPILER_VERSION "${version}")
endforeach()
# CMake guesses this for C++ alone; without it there are no options for the language's standard.
set(CMAKE_OBJCXX_COMPILER_FRONTEND_VARIANT GNU)
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_ABI_COMPILED TRUE)
  set(CMAKE_${language}_LINK_PIE_SUPPORTED NO)
  set(CMAKE_${language}_LINK_NO_PIE_SUPPORTED NO)
endforeach()
# zig refuses -fPIE for an object file; for this system every executable is position independent anyway.
set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX "${CMAKE_CURRENT_LIST_DIR}/zig-rules.cmake")
