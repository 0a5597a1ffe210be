# Orvane.framework, for applications: the Objective-C face, and under it the core with AppKit's services.

# The headers that an application may include are those that the framework's own header names.
set(orvane_public_headers Orvane.h OVFrameworkTypes.h)
file(STRINGS Framework/Orvane.h imports REGEX "^#import \"")
list(TRANSFORM imports REPLACE "^#import \"(.*)\"$" "\\1")
list(APPEND orvane_public_headers ${imports})
list(TRANSFORM orvane_public_headers PREPEND Framework/)

add_library(OrvaneFramework SHARED
  $<TARGET_OBJECTS:orvane_framework> ${orvane_public_headers} Resources/LargeFilesTemplate.savedSearch)
target_link_libraries(OrvaneFramework PRIVATE $<BUILD_INTERFACE:OrvaneCocoa>)
set_source_files_properties(Resources/LargeFilesTemplate.savedSearch PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
set_target_properties(OrvaneFramework PROPERTIES
  LINKER_LANGUAGE CXX
  OUTPUT_NAME Orvane
  EXPORT_NAME Orvane
  FRAMEWORK ON
  FRAMEWORK_VERSION A
  INSTALL_NAME_DIR @rpath
  BUILD_WITH_INSTALL_NAME_DIR ON
  VERSION "${PROJECT_VERSION}"
  SOVERSION "${PROJECT_VERSION_MAJOR}"
  MACOSX_FRAMEWORK_IDENTIFIER Orvane
  MACOSX_FRAMEWORK_BUNDLE_VERSION "${PROJECT_VERSION}"
  MACOSX_FRAMEWORK_SHORT_VERSION_STRING "${PROJECT_VERSION}"
  PUBLIC_HEADER "${orvane_public_headers}")
