#import "Framework/OVConversions.h"

#import "Backends/Cocoa/CocoaUserDefaults.h"

namespace orvane::face {

namespace {

template <typename Convert> std::vector<std::string> convertAll(NSArray* strings, Convert convert) {
    std::vector<std::string> result;
    result.reserve([strings count]);
    for (id element in strings) {
        if (![element isKindOfClass:[NSString class]]) {
            [NSException raise:NSInvalidArgumentException
                        format:@"A list of strings has an element of the class %@", [element class]];
        }
        result.push_back(convert(element));
    }
    return result;
}

} // namespace

std::string pathOf(NSString* string) {
    // It raises for an empty string and for what has no such spelling.
    if ([string length] == 0) {
        return {};
    }
    @try {
        return [string fileSystemRepresentation];
    } @catch (NSException*) {
        return textOf(string);
    }
}

std::vector<std::string> textsOf(NSArray* strings) {
    return convertAll(strings, textOf);
}

std::vector<std::string> pathsOf(NSArray* strings) {
    return convertAll(strings, pathOf);
}

NSMutableArray* stringsOfPaths(const std::vector<std::string>& paths) {
    return arrayOf(paths, stringOfPath);
}

NSMutableDictionary* dictionaryOf(const OVVolumeDictionary& volume) {
    NSMutableDictionary* const result = [NSMutableDictionary dictionary];
    volume.forEachObject(
        [&](const char* key, const auto& object) { [result setObject:cocoa::objectOf(object) forKey:stringOf(key)]; });
    return result;
}

} // namespace orvane::face
