#include "Platform/Cocoa/GNUstepCompatibility.h"
