#import <Orvane/OVMemoryStatistics.h>

#include "Tasks/OVMemoryStatistics.h"

@implementation OVMemoryStatistics

+ (int64_t)freeMemoryCount {
    return orvane::OVMemoryStatistics::freeMemoryCount();
}

@end
