#pragma once

/// What GNUstep lacks of the frameworks, under the frameworks' own names. Nothing on macOS.
#import <AppKit/AppKit.h>

#ifdef GNUSTEP
#endif
