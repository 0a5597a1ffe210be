# Orvane.framework, for applications: the Objective-C face, and under it the core with AppKit's services. Where there
# are no frameworks it is a shared library.
file(GLOB orvane_public_headers CONFIGURE_DEPENDS Framework/Orvane/*.h)
add_library(OrvaneFramework SHARED $<TARGET_OBJECTS:orvane_framework> ${orvane_public_headers}
  Framework/module.modulemap Resources/LargeFilesTemplate.savedSearch)
target_link_libraries(OrvaneFramework PRIVATE $<BUILD_INTERFACE:OrvaneCocoa>)
set_source_files_properties(Resources/LargeFilesTemplate.savedSearch PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
set_source_files_properties(Framework/module.modulemap PROPERTIES MACOSX_PACKAGE_LOCATION Modules)
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
  MACOSX_FRAMEWORK_IDENTIFIER "${ORVANE_BUNDLE_IDENTIFIER}"
  MACOSX_FRAMEWORK_BUNDLE_VERSION "${PROJECT_VERSION}"
  MACOSX_FRAMEWORK_SHORT_VERSION_STRING "${PROJECT_VERSION}"
  PUBLIC_HEADER "${orvane_public_headers}")

# What Framework/exports.txt lists is exported, and what nothing of it needs is left out.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS Framework/exports.txt)
file(STRINGS Framework/exports.txt exports REGEX "^[^#]")
set(classes ${exports})
list(FILTER classes INCLUDE REGEX "^class ")
list(FILTER exports EXCLUDE REGEX "^class ")
list(TRANSFORM classes REPLACE "^class " "*objc_class_name_" OUTPUT_VARIABLE patterns)
set(list "${PROJECT_BINARY_DIR}/exports")
if(APPLE)
  list(TRANSFORM exports PREPEND _)
  # The 64-bit runtime has two symbols a class.
  list(TRANSFORM classes REPLACE "^class " "_OBJC_*CLASS_\$_")
  list(JOIN patterns "\n" patterns)
  list(JOIN exports "\n" exports)
  list(JOIN classes "\n" classes)
  file(CONFIGURE OUTPUT "${list}" CONTENT "${exports}\n${classes}\n${patterns}\n" @ONLY)
  target_link_options(OrvaneFramework PRIVATE "-Wl,-exported_symbols_list,${list}" -Wl,-dead_strip
    $<$<CONFIG:Release>:-Wl,-S,-x>)
  # CMake links the framework's other folders to the current version's, but not this one.
  add_custom_command(TARGET OrvaneFramework POST_BUILD
    COMMAND "${CMAKE_COMMAND}" -E create_symlink Versions/Current/Modules "$<TARGET_BUNDLE_DIR:OrvaneFramework>/Modules")
else()
  list(JOIN exports ";\n" exports)
  list(JOIN patterns ";\n" patterns)
  file(CONFIGURE OUTPUT "${list}" CONTENT "{\nglobal:\n${exports};\n${patterns};\nlocal: *;\n};\n" @ONLY)
  target_link_options(OrvaneFramework PRIVATE "-Wl,--version-script=${list}" -Wl,--gc-sections
    -Wl,-z,relro,-z,now,-z,noexecstack)
endif()
set_property(TARGET OrvaneFramework PROPERTY LINK_DEPENDS "${list}")
