# The library for an application: the core with the services of AppKit, or of GNUstep where there is no AppKit.
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)

add_library(orvane_cocoa_platform INTERFACE)
if(APPLE)
  target_link_libraries(orvane_cocoa_platform INTERFACE "-framework AppKit" "-framework Foundation"
    "-framework CoreServices" "-framework Security")
else()
  if(NOT CMAKE_OBJCXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "ORVANE_COCOA needs Clang: GCC crashes on an Objective-C++ @catch")
  endif()
  find_program(GNUSTEP_CONFIG gnustep-config REQUIRED)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${GNUSTEP_CONFIG} --gui-libs OUTPUT_VARIABLE libs COMMAND_ERROR_IS_FATAL ANY)
  # The runtime's headers belong to GCC, beside the library that Clang links with, too.
  execute_process(COMMAND ${CMAKE_OBJCXX_COMPILER} -print-libgcc-file-name OUTPUT_VARIABLE libgcc
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  cmake_path(GET libgcc PARENT_PATH gcc_folder)

  # Of GNUstep's flags those that its headers and its runtime want; the warnings and the optimization are ours.
  separate_arguments(flags UNIX_COMMAND "${flags}")
  separate_arguments(libs UNIX_COMMAND "${libs}")
  set(folders ${flags})
  list(FILTER folders INCLUDE REGEX "^-I/")
  list(TRANSFORM folders REPLACE "^-I" "")
  list(FILTER flags INCLUDE REGEX "^(-D|-fobjc|-fconstant-string|-fexceptions|-pthread)")
  list(FILTER libs INCLUDE REGEX "^-(l|L|pthread)")
  target_include_directories(orvane_cocoa_platform SYSTEM INTERFACE ${folders})
  target_compile_options(orvane_cocoa_platform INTERFACE
    $<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:${flags};-fobjc-runtime=gcc;SHELL:-idirafter ${gcc_folder}/include>)
  target_link_libraries(orvane_cocoa_platform INTERFACE ${libs})
endif()

add_library(OrvaneCocoa STATIC
  $<TARGET_OBJECTS:orvane_core>
  Backends/Cocoa/CocoaAlertPanel.mm
  Backends/Cocoa/CocoaAppleScript.mm
  Backends/Cocoa/CocoaBundle.mm
  Backends/Cocoa/CocoaFileManager.mm
  Backends/Cocoa/CocoaLocale.mm
  Backends/Cocoa/CocoaPasteboard.mm
  Backends/Cocoa/CocoaRunLoop.mm
  Backends/Cocoa/CocoaSupport.mm
  Backends/Cocoa/CocoaUserDefaults.mm
  Backends/Cocoa/CocoaWorkspace.mm
  Backends/Cocoa/GNUstepCompatibility.mm)
if(APPLE)
  target_sources(OrvaneCocoa PRIVATE
    Backends/Darwin/DarwinAuthorizationServices.cpp
    Backends/Darwin/DarwinGestalt.cpp)
else()
  target_sources(OrvaneCocoa PRIVATE
    Backends/Posix/Osascript.cpp
    Backends/Posix/PosixAuthorizationServices.cpp
    Backends/Posix/PosixGestalt.cpp
    Backends/Posix/PropertyListStrings.cpp
    Backends/Posix/UserLanguages.cpp)
endif()
target_link_libraries(OrvaneCocoa PUBLIC orvane_interface orvane_cocoa_platform PRIVATE orvane_product)
# Objective-C exceptions end in these files; C++ has none here either.
target_compile_options(OrvaneCocoa PRIVATE
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fexceptions;-fobjc-exceptions;-fno-cxx-exceptions>)
