#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

/// How an application shows itself, with the values of `NSApplicationActivationPolicy`.
enum ActivationPolicy : std::int32_t {
    kActivationPolicyRegular = 0,    ///< a Dock icon and a menu bar
    kActivationPolicyAccessory = 1,  ///< neither, but windows
    kActivationPolicyProhibited = 2, ///< in the background
};

/// `NSWorkspaceLaunchDefault`: with the others' windows left as they are.
inline constexpr std::uint32_t kWorkspaceLaunchDefault = 0x30000;

/// One running application (`NSRunningApplication`). What it answers may change while it runs; after its end it keeps
/// the last answers.
class RunningApplication {
  public:
    /// `bundleIdentifier`; nothing for an application without one.
    virtual std::optional<std::string> bundleIdentifier() = 0;

    /// `localizedName`: the name as the user sees it; nothing when it has none.
    virtual std::optional<std::string> localizedName() = 0;

    /// The path of `bundleURL`; nothing for an application without a bundle.
    virtual std::optional<std::string> bundlePath() = 0;

    /// `processIdentifier`; -1 when there is no process any more.
    virtual std::int32_t processIdentifier() = 0;

    /// `activationPolicy`: one of `ActivationPolicy`, or a later system's.
    virtual std::int32_t activationPolicy() = 0;

    /// `terminate`: asks it to quit, as its Quit command would. False when the question could not be sent; true does
    /// not mean that it quit.
    virtual bool terminate() = 0;

    virtual ~RunningApplication() = default;
};

/// Other applications (`NSWorkspace`'s `sharedWorkspace`). May be used from any thread; AppKit is asked
/// on the main one, in its run loop.
class Workspace {
  public:
    /// The user's. Without a desktop nothing runs in it and nothing can be launched. Lives for ever.
    static Workspace& platform();

    /// `runningApplications`: all of them in the system's order, background ones too.
    virtual std::vector<std::shared_ptr<RunningApplication>> runningApplications() = 0;

    /// `launchApplication:`: launches the application at the absolute path; false when it could not be.
    virtual bool launchApplication(const std::string& path) = 0;

    /// `launchApplicationAtURL:options:configuration:error:` with the file URL of the absolute path, no configuration
    /// and no error out-parameter: the application that runs then; null when it could not be launched.
    virtual std::shared_ptr<RunningApplication> launchApplicationAtURL(const std::string& path,
                                                                       std::uint32_t options) = 0;

    /// `openFile:withApplication:`: has the application of that name ("Finder") open the file; false when it did not.
    virtual bool openFile(const std::string& path, const std::string& withApplication) = 0;

    /// `NSAppKitVersionNumber`: 1038 is macOS 10.6, 1138 is 10.7. Without AppKit it is infinite: newer than all.
    virtual double appKitVersionNumber() = 0;

  protected:
    ~Workspace() = default;
};

} // namespace orvane
