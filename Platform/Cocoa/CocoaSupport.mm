#include "Platform/Cocoa/CocoaSupport.h"

namespace orvane::cocoa {

NSString* stringOf(std::string_view text) {
    NSString* string = [[[NSString alloc] initWithBytes:text.data() length:text.size()
                                               encoding:NSUTF8StringEncoding] autorelease];
    if (string == nil) {
        string = [[[NSString alloc] initWithBytes:text.data() length:text.size()
                                         encoding:NSISOLatin1StringEncoding] autorelease];
    }
    return string;
}

NSString* stringOfPath(std::string_view path) {
    NSString* string = [[NSFileManager defaultManager] stringWithFileSystemRepresentation:path.data()
                                                                                   length:path.size()];
    return string != nil ? string : stringOf(path);
}

std::string textOf(NSString* string) {
    // Not UTF8String: that ends at the first null character, and has no answer for half a pair.
    NSData* bytes = [string dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    return bytes != nil ? std::string(static_cast<const char*>([bytes bytes]), [bytes length]) : std::string();
}

std::optional<std::string> optionalTextOf(NSString* string) {
    return string != nil ? std::optional(textOf(string)) : std::nullopt;
}

void logException(NSException* exception) {
    OVLog("%s: %s", textOf([exception name]).c_str(), textOf([exception reason]).c_str());
}

} // namespace orvane::cocoa
