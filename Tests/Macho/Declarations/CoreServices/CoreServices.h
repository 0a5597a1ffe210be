#pragma once

// What Backends/Darwin/ uses of the framework.

#include <MacTypes.h>

extern "C" OSErr Gestalt(OSType selector, SInt32* response);
