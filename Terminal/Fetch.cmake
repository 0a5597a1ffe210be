# orvane's libraries: the system's packages where it has them, else as released, held to the hash.
if(CMAKE_VERSION VERSION_LESS 3.25)
  message(FATAL_ERROR "ORVANE_FETCH needs CMake 3.25; without it, installed libraries are used")
endif()
cmake_policy(SET CMP0135 NEW) # what is unpacked is as old as its unpacking
include(FetchContent)
set(JSON_BuildTests OFF)
set(JSON_Install OFF)
set(FMT_INSTALL OFF)
FetchContent_Declare(CLI11 URL https://github.com/CLIUtils/CLI11/archive/v2.1.1.tar.gz
  URL_HASH SHA256=d69023d1d0ab6a22be86b4f59d449422bc5efd9121868f4e284d6042e52f682e
  SYSTEM FIND_PACKAGE_ARGS ${CLI11_WANTED} QUIET)
FetchContent_Declare(nlohmann_json URL https://github.com/nlohmann/json/archive/v3.10.0.tar.gz
  URL_HASH SHA256=ae04a7b41d229224ca1e6bbb4435e23aa6c6dc9727d18b13b218b6c0c61ccfd8
  SYSTEM FIND_PACKAGE_ARGS ${nlohmann_json_WANTED} QUIET)
FetchContent_Declare(fmt URL https://github.com/fmtlib/fmt/archive/refs/tags/11.0.0.tar.gz
  URL_HASH SHA256=8e20e2aacdd3f264fa5be9cba879fa3972c52bfd9d5310112250e7eaaf492f2c
  SYSTEM FIND_PACKAGE_ARGS ${fmt_WANTED} QUIET)
FetchContent_MakeAvailable(CLI11 nlohmann_json fmt)
