#import "Framework/OVConversions.h"
#import <Orvane/NSFileManager+Globbing.h>
#import <Orvane/NSFileManager+SUIDRoot.h>
#import <Orvane/NSFileManager+TemporaryDirectory.h>

#include "Helpers/NSFileManager+Globbing.h"
#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Helpers/NSFileManager+TemporaryDirectory.h"

namespace face = orvane::face;

@implementation NSFileManager (Globbing)

- (NSArray*)arrayWithFilesMatchingPattern:(NSString*)pattern inDirectory:(NSString*)directory {
    // Patterns are matched as UTF-8, not as the file system would spell them.
    const std::vector<std::string> paths =
        orvane::Globbing::arrayWithFilesMatchingPattern(face::textOf(pattern), face::textOf(directory));
    return [[face::stringsOfPaths(paths) copy] autorelease];
}

@end

@implementation NSFileManager (SUIDRoot)

- (int32_t)setSUIDRoot:(NSString*)path {
    return orvane::SUIDRoot::setSUIDRoot(path != nil ? face::pathOf(path).c_str() : nullptr);
}

- (int32_t)surrenderSUIDRoot:(NSString*)path {
    return orvane::SUIDRoot::surrenderSUIDRoot(path != nil ? face::pathOf(path).c_str() : nullptr);
}

- (BOOL)isSetUIDRoot:(NSString*)path {
    return orvane::SUIDRoot::isSetUIDRoot(face::pathOf(path).c_str()) ? YES : NO;
}

- (BOOL)isIgnoringSetUIDAtPath:(NSString*)path {
    return orvane::SUIDRoot::isIgnoringSetUIDAtPath(face::pathOf(path).c_str()) ? YES : NO;
}

@end

@implementation NSFileManager (TemporaryDirectory)

- (NSString*)createTemporaryDirectory {
    return face::ifAny(orvane::TemporaryDirectory::createTemporaryDirectory(), face::stringOfPath);
}

@end
