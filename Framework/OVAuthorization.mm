#import <Orvane/OVAuthorization.h>

#import "Framework/OVConversions.h"

#include "Privileges/OVAuthorization.h"

namespace face = orvane::face;

namespace {

/// Null for nil, which ends an argument list where it stands.
const char* pointer(const std::optional<std::string>& path) {
    return path ? path->c_str() : nullptr;
}

orvane::OVAuthorization& coreOf(void* core) {
    return *static_cast<orvane::OVAuthorization*>(core);
}

} // namespace

@implementation OVAuthorization

- (id)init {
    return [self initWithToolPath:nil];
}

- (id)initWithToolPath:(NSString*)toolPath {
    if ((self = [super init]) != nil) {
        toolPath_ = [toolPath retain];
        core_ = new orvane::OVAuthorization(face::ifAny(toolPath, face::pathOf));
    }
    return self;
}

- (void)dealloc {
    [toolPath_ release];
    delete static_cast<orvane::OVAuthorization*>(core_); // deauthenticates
    [super dealloc];
}

- (NSString*)toolPath {
    return toolPath_;
}

- (void)setToolPath:(NSString*)toolPath {
    [toolPath retain];
    [toolPath_ release];
    toolPath_ = toolPath;
    coreOf(core_).setToolPath(face::ifAny(toolPath, face::pathOf));
}

- (int32_t)authenticate {
    return coreOf(core_).authenticate();
}

- (int32_t)deauthenticate {
    return coreOf(core_).deauthenticate();
}

- (int32_t)runWithPriviliges:(char* const*)arguments {
    return coreOf(core_).runWithPriviliges(arguments);
}

- (int32_t)removeWithPriviliges:(NSString*)path {
    return coreOf(core_).removeWithPriviliges(pointer(face::ifAny(path, face::pathOf)));
}

- (int32_t)copyWithPriviliges:(NSString*)source to:(NSString*)destination {
    return coreOf(core_).copyWithPriviliges(pointer(face::ifAny(source, face::pathOf)),
                                            pointer(face::ifAny(destination, face::pathOf)));
}

- (int32_t)createDirectoryAtPath:(NSString*)path {
    return coreOf(core_).createDirectoryAtPath(pointer(face::ifAny(path, face::pathOf)));
}

+ (int32_t)runToolWithPriviliges:(NSString*)toolPath arguments:(char* const*)arguments {
    return orvane::OVAuthorization::runToolWithPriviliges(face::ifAny(toolPath, face::pathOf), arguments);
}

@end
