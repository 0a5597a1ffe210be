#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/FileManager.h"
#include "Support/OVPath.h"

namespace orvane {

namespace {

using namespace cocoa;

class CocoaFileManager final : public FileManager {
  public:
    std::string displayNameAtPath(const std::string& path) override {
        return guarded(lastPathComponent(path), [&] {
            NSFileManager* manager = [[[NSFileManager alloc] init] autorelease];
            return textOf([manager displayNameAtPath:stringOfPath(path)]);
        });
    }

    std::optional<std::string> hideExtensionOfItemAtPath(const std::string& path) override {
        const std::string failure = "the extension could not be hidden";
        return guarded(std::optional(failure), [&]() -> std::optional<std::string> {
            NSFileManager* manager = [[[NSFileManager alloc] init] autorelease];
            NSDictionary* attributes = [NSDictionary dictionaryWithObject:[NSNumber numberWithBool:YES]
                                                                   forKey:NSFileExtensionHidden];
            NSError* error = nil;
            if ([manager setAttributes:attributes ofItemAtPath:stringOfPath(path) error:&error]) {
                return std::nullopt;
            }
            return error != nil ? textOf([error description]) : failure;
        });
    }
};

} // namespace

FileManager& FileManager::platform() {
    static constinit CocoaFileManager manager;
    return manager;
}

} // namespace orvane
