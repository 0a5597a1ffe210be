#import "Framework/NSFileManager+Globbing.h"

#import "Framework/OVConversions.h"

#include "Helpers/NSFileManager+Globbing.h"

@implementation NSFileManager (Globbing)

- (NSArray*)arrayWithFilesMatchingPattern:(NSString*)pattern inDirectory:(NSString*)directory {
    // Patterns are matched as UTF-8, not as the file system would spell them.
    const std::vector<std::string> paths =
        orvane::Globbing::arrayWithFilesMatchingPattern(orvane::face::textOf(pattern), orvane::face::textOf(directory));
    return [[orvane::face::stringsOfPaths(paths) copy] autorelease];
}

@end
