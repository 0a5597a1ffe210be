#import "Framework/NSFileManager+SUIDRoot.h"

#import "Framework/OVConversions.h"

#include "Helpers/NSFileManager+SUIDRoot.h"

@implementation NSFileManager (SUIDRoot)

- (int32_t)setSUIDRoot:(NSString*)path {
    const std::string file = orvane::face::pathOf(path);
    return orvane::SUIDRoot::setSUIDRoot(path != nil ? file.c_str() : nullptr);
}

- (int32_t)surrenderSUIDRoot:(NSString*)path {
    const std::string file = orvane::face::pathOf(path);
    return orvane::SUIDRoot::surrenderSUIDRoot(path != nil ? file.c_str() : nullptr);
}

- (BOOL)isSetUIDRoot:(NSString*)path {
    return orvane::SUIDRoot::isSetUIDRoot(orvane::face::pathOf(path).c_str()) ? YES : NO;
}

- (BOOL)isIgnoringSetUIDAtPath:(NSString*)path {
    return orvane::SUIDRoot::isIgnoringSetUIDAtPath(orvane::face::pathOf(path).c_str()) ? YES : NO;
}

@end
