# The Objective-C face of the library. Objects, not an archive: a linker would leave the categories in it.
add_library(orvane_framework OBJECT
  Framework/NSFileManager.mm
  Framework/OVAuthorization.mm
  Framework/OVConversions.mm
  Framework/OVFrameworkLog.mm
  Framework/OVMemoryStatistics.mm
  Framework/OVPasteboardServer.mm
  Framework/OVShellCommand.mm
  Framework/OVTaskRunner.mm
  Framework/OVToolClient.mm
  Framework/ZRBytesValueTransformer.mm
  Framework/ZRSystemVersion.mm)
target_link_libraries(orvane_framework PUBLIC OrvaneCocoa PRIVATE orvane_product)
# <Orvane/...>, as an application includes the headers.
target_include_directories(orvane_framework PUBLIC "${PROJECT_SOURCE_DIR}/Framework")
target_compile_options(orvane_framework PRIVATE -fexceptions -fobjc-exceptions -fno-cxx-exceptions)

include(cmake/FrameworkBundle.cmake)
