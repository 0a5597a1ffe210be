#import "Framework/NSFileManager+TemporaryDirectory.h"

#import "Framework/OVConversions.h"

#include "Helpers/NSFileManager+TemporaryDirectory.h"

@implementation NSFileManager (TemporaryDirectory)

- (NSString*)createTemporaryDirectory {
    const auto path = orvane::TemporaryDirectory::createTemporaryDirectory();
    return path ? orvane::face::stringOfPath(*path) : nil;
}

@end
