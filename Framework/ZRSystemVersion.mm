#import <Orvane/ZRSystemVersion.h>

#import "Framework/OVConversions.h"

#include "Support/ZRSystemVersion.h"

void GetSystemVersion(int32_t* major, int32_t* minor, int32_t* bugFix) {
    orvane::GetSystemVersion(major, minor, bugFix);
}

NSString* SystemVersionString(void) {
    return orvane::face::stringOf(orvane::SystemVersionString());
}

BOOL SystemIsSnowLeopardOrLater(void) {
    return orvane::SystemIsSnowLeopardOrLater() ? YES : NO;
}
