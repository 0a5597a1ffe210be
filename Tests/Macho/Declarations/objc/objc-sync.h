#pragma once

// The monitor of an Objective-C object, as the runtime for macOS has it.

#include <objc/objc.h>

OBJC_EXPORT int objc_sync_enter(id object);
OBJC_EXPORT int objc_sync_exit(id object);
