# What an installation leaves: the tool with its manual page, and the library with what a program needs to use it. The
# tool goes there as an ordinary executable; its set-user-ID bit is for the tool itself to set.
include(CMakePackageConfigHelpers)

install(TARGETS OrvaneTool DESTINATION "${CMAKE_INSTALL_LIBEXECDIR}")
install(FILES Documentation/OrvaneTool.8 DESTINATION "${CMAKE_INSTALL_MANDIR}/man8")
if(TARGET orvane)
  install(TARGETS orvane DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT orvane)
  install(FILES Documentation/orvane.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT orvane)
  install(FILES Documentation/orvane-schema.json DESTINATION "${CMAKE_INSTALL_DATADIR}/orvane" COMPONENT orvane)
  install(DIRECTORY Terminal/Resources/ DESTINATION "${CMAKE_INSTALL_DATADIR}/orvane" COMPONENT orvane)
  install(FILES Terminal/Completions/orvane.bash DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
    RENAME orvane COMPONENT orvane)
  install(FILES Terminal/Completions/_orvane DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions"
    COMPONENT orvane)
  install(FILES Terminal/Completions/orvane.fish DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d"
    COMPONENT orvane)
endif()

# What an application for macOS that carries the tool is made with; see Documentation/Shipping.md.
set(orvane_oldest_macos "${CMAKE_OSX_DEPLOYMENT_TARGET}")
if(NOT orvane_oldest_macos)
  set(orvane_oldest_macos 10.13)
endif()
set(orvane_line)
set(orvane_choice)
if(TARGET orvane)
  set(orvane_line "\n        <line choice=\"orvane\"/>")
  set(orvane_choice "
    <choice id=\"orvane\" title=\"orvane\">
        <pkg-ref id=\"${ORVANE_BUNDLE_IDENTIFIER}.orvane\"/>
    </choice>
    <pkg-ref id=\"${ORVANE_BUNDLE_IDENTIFIER}.orvane\" version=\"${PROJECT_VERSION}\">orvane.pkg</pkg-ref>")
endif()
configure_file(Packaging/distribution.xml.in "${PROJECT_BINARY_DIR}/Packaging/distribution.xml" @ONLY)
configure_file(Packaging/daemon.plist.in
  "${PROJECT_BINARY_DIR}/Packaging/${ORVANE_BUNDLE_IDENTIFIER}.tool.plist" @ONLY)

if(APPLE)
  if(NOT ORVANE_COCOA)
    return()
  endif()
  set(orvane_resources Library/Frameworks/Orvane.framework/Resources)
  install(TARGETS OrvaneFramework EXPORT OrvaneTargets FRAMEWORK DESTINATION Library/Frameworks)
else()
  # The headers include each other by folder, so the folders stand in one of their own.
  set(orvane_headers "${CMAKE_INSTALL_INCLUDEDIR}/orvane")
  set(orvane_resources "${CMAKE_INSTALL_DATADIR}/orvane")
  foreach(folder Helpers Host Pasteboard Platform Privileges Support Tasks)
    file(GLOB headers CONFIGURE_DEPENDS "${folder}/*.h")
    install(FILES ${headers} DESTINATION "${orvane_headers}/${folder}")
  endforeach()
  install(FILES Resources/LargeFilesTemplate.savedSearch DESTINATION "${orvane_resources}")

  target_compile_features(Orvane INTERFACE cxx_std_20)
  target_include_directories(Orvane INTERFACE "$<INSTALL_INTERFACE:${orvane_headers}>")
  set(orvane_flags)
  if(ORVANE_32BIT)
    # The headers name types of the C library that these make wider.
    set(orvane_flags "-D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64")
    target_compile_definitions(Orvane INTERFACE
      "$<INSTALL_INTERFACE:_FILE_OFFSET_BITS=64>" "$<INSTALL_INTERFACE:_TIME_BITS=64>")
  endif()
  install(TARGETS Orvane EXPORT OrvaneTargets ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")

  # Found from its own place, so that the installation can be moved.
  set(orvane_pkgconfig "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${orvane_pkgconfig}"
    OUTPUT_VARIABLE orvane_up)
  configure_file(cmake/orvane.pc.in "${PROJECT_BINARY_DIR}/orvane.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/orvane.pc" DESTINATION "${orvane_pkgconfig}")
endif()

set(orvane_package "${CMAKE_INSTALL_LIBDIR}/cmake/Orvane")
install(EXPORT OrvaneTargets NAMESPACE Orvane:: DESTINATION "${orvane_package}")
configure_package_config_file(cmake/OrvaneConfig.cmake.in "${PROJECT_BINARY_DIR}/OrvaneConfig.cmake"
  INSTALL_DESTINATION "${orvane_package}" PATH_VARS orvane_resources)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/OrvaneConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/OrvaneConfig.cmake" "${PROJECT_BINARY_DIR}/OrvaneConfigVersion.cmake"
  DESTINATION "${orvane_package}")
