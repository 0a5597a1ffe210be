// What an application asks of its system, where there is no desktop.

#include "Platform/AlertPanel.h"
#include "Platform/FileManager.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workspace.h"
#include "Support/OVLog.h"
#include "Support/OVPath.h"

#include <limits>

namespace orvane {

namespace {

class HeadlessAlertPanel final : public AlertPanel {
  public:
    std::int32_t run(const AlertPanelTexts& /*texts*/) override { return kAlertPanelAlternate; }
};

class HeadlessFileManager final : public FileManager {
  public:
    /// The name becomes part of a file's name, so that the root has one without a slash.
    std::string displayNameAtPath(const std::string& path) override {
        const std::string name = lastPathComponent(path);
        return name == "/" ? "Root" : name;
    }
    std::optional<std::string> hideExtensionOfItemAtPath(const std::string& /*path*/) override { return std::nullopt; }
};

class HeadlessPasteboardItem final : public PasteboardItem {
  public:
    std::optional<std::vector<std::string>> types() override { return std::vector<std::string>(); }
    std::optional<std::shared_ptr<const PasteboardData>> dataForType(const std::string& /*type*/) override {
        return nullptr;
    }
    bool setData(const std::shared_ptr<const PasteboardData>& /*data*/, const std::string& /*forType*/) override {
        return false;
    }
};

class HeadlessPasteboard final : public Pasteboard {
  public:
    std::optional<NSInteger> changeCount() override { return 0; }
    std::optional<PasteboardItems> readItems() override { return PasteboardItems(); }
    std::optional<PasteboardItems> pasteboardItems() override { return PasteboardItems(); }
    bool clearContents() override { return true; }
    bool writeObjects(const PasteboardItems& /*items*/) override { return false; }
};

class HeadlessPasteboardService final : public PasteboardService {
  public:
    std::shared_ptr<Pasteboard> generalPasteboard() override { return std::make_shared<HeadlessPasteboard>(); }
    std::shared_ptr<Pasteboard> pasteboardWithUniqueName() override { return std::make_shared<HeadlessPasteboard>(); }
    std::shared_ptr<PasteboardItem> newItem() override { return std::make_shared<HeadlessPasteboardItem>(); }
};

class HeadlessRunLoop final : public RunLoop {
  public:
    bool addRepeatingTimer(double seconds, std::function<void()> /*action*/) override {
        OVLog("There is no run loop: a timer of %g seconds will never fire", seconds);
        return false;
    }
};

class HeadlessUserDefaults final : public UserDefaults {
  public:
    std::optional<PropertyListValue> objectForKey(const std::string& /*key*/, const std::string& /*domain*/) override {
        return std::nullopt;
    }
    void setObject(const PropertyListValue& /*object*/, const std::string& /*forKey*/,
                   const std::string& domain) override {
        OVLog("There are no user defaults: what was set in %s is lost", domain.c_str());
    }
    bool synchronize() override { return false; }
};

class HeadlessUserDefaultsFactory final : public UserDefaultsFactory {
  public:
    std::unique_ptr<UserDefaults> create() override { return std::make_unique<HeadlessUserDefaults>(); }
};

class HeadlessWorkspace final : public Workspace {
  public:
    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override { return {}; }
    bool launchApplication(const std::string& /*path*/) override { return false; }
    std::shared_ptr<RunningApplication> launchApplicationAtURL(const std::string& /*path*/,
                                                               std::uint32_t /*options*/) override {
        return nullptr;
    }
    bool openFile(const std::string& /*path*/, const std::string& /*withApplication*/) override { return false; }
    double appKitVersionNumber() override { return std::numeric_limits<double>::infinity(); }
};

} // namespace

AlertPanel& AlertPanel::platform() {
    static constinit HeadlessAlertPanel panel;
    return panel;
}

FileManager& FileManager::platform() {
    static constinit HeadlessFileManager manager;
    return manager;
}

PasteboardService& PasteboardService::platform() {
    static constinit HeadlessPasteboardService service;
    return service;
}

RunLoop& RunLoop::current() {
    static constinit HeadlessRunLoop runLoop;
    return runLoop;
}

UserDefaultsFactory& UserDefaultsFactory::platform() {
    static constinit HeadlessUserDefaultsFactory factory;
    return factory;
}

Workspace& Workspace::platform() {
    static constinit HeadlessWorkspace workspace;
    return workspace;
}

} // namespace orvane
