#import "Framework/OVConversions.h"

#import "Framework/OVTaskRunner.h"

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

template <typename Convert> NSMutableArray* arrayOf(const std::vector<std::string>& texts, Convert convert) {
    NSMutableArray* const result = [NSMutableArray arrayWithCapacity:texts.size()];
    for (const std::string& text : texts) {
        [result addObject:convert(text)];
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

std::optional<std::string> optionalPathOf(NSString* string) {
    return string != nil ? std::optional(pathOf(string)) : std::nullopt;
}

std::vector<std::string> textsOf(NSArray* strings) {
    return convertAll(strings, textOf);
}

std::vector<std::string> pathsOf(NSArray* strings) {
    return convertAll(strings, pathOf);
}

NSMutableArray* stringsOf(const std::vector<std::string>& texts) {
    return arrayOf(texts, stringOf);
}

NSMutableArray* stringsOfPaths(const std::vector<std::string>& paths) {
    return arrayOf(paths, stringOfPath);
}

NSMutableDictionary* dictionaryOf(const OVVolumeDictionary& volume) {
    return [NSMutableDictionary
        dictionaryWithObjectsAndKeys:stringOf(volume.path()), ::OVVolumePath,
                                     [NSNumber numberWithUnsignedLongLong:volume.owner()], ::OVVolumeOwner,
                                     [NSNumber numberWithBool:(volume.isLocal() ? YES : NO)], ::OVVolumeIsLocal,
                                     [NSNumber numberWithUnsignedLongLong:volume.totalSpace()], ::OVVolumeTotalSpace,
                                     [NSNumber numberWithUnsignedLongLong:volume.freeSpace()], ::OVVolumeFreeSpace,
                                     nil];
}

} // namespace orvane::face
