#include "Support/OVText.h"
#include "Tasks/OVTaskRunner.h"

namespace orvane {

namespace {

/// Where a setting is stored.
struct Setting {
    const char* key;
    const char* domain;
};

constexpr Setting kDashboardDisabled = {"mcx-disabled", "com.apple.dashboard"};
constexpr Setting kShowAllFiles = {"AppleShowAllFiles", "com.apple.finder"};
constexpr Setting kQuarantine = {"LSQuarantine", "com.apple.LaunchServices"};
constexpr Setting kShadowDisabled = {"disable-shadow", "com.apple.screencapture"};
constexpr Setting kScreenshotType = {"type", "com.apple.screencapture"};

/// An absent value is a no, as a message to nil is.
bool isSet(const std::optional<PropertyListValue>& value) {
    return value && boolValue(*value);
}

} // namespace

bool OVTaskRunner::isDashboardOn() {
    return !isSet(objectForKey(kDashboardDisabled.key, kDashboardDisabled.domain));
}

std::int32_t OVTaskRunner::toggleDashboard() {
    // What is on becomes disabled, so the present value is the new one; so too with the shadow.
    setObject(isDashboardOn(), kDashboardDisabled.key, kDashboardDisabled.domain);
    return relaunchDock();
}

bool OVTaskRunner::showInvisibleFiles() {
    const auto value = objectForKey(kShowAllFiles.key, kShowAllFiles.domain);
    if (const auto* const text = value ? std::get_if<std::string>(&*value) : nullptr) {
        return *text == "ON"; // deliberately no other text
    }
    return isSet(value);
}

std::int32_t OVTaskRunner::toggleInvisibleFiles() {
    setObject(!showInvisibleFiles(), kShowAllFiles.key, kShowAllFiles.domain);
    return relaunchFinder();
}

bool OVTaskRunner::showDownloadWarning() {
    return isSet(objectForKey(kQuarantine.key, kQuarantine.domain)); // deliberately no when it is absent
}

std::int32_t OVTaskRunner::toggleDownloadWarning() {
    setObject(!showDownloadWarning(), kQuarantine.key, kQuarantine.domain);
    return relaunchFinder();
}

std::vector<std::string> OVTaskRunner::screenshotFormats() {
    return {"JPG", "PNG", "PDF", "TIFF"};
}

std::optional<PropertyListValue> OVTaskRunner::screenshotFormat() {
    return objectForKey(kScreenshotType.key, kScreenshotType.domain);
}

std::int32_t OVTaskRunner::setScreenshotFormat(std::string_view format) {
    setObject(lowercaseString(format), kScreenshotType.key, kScreenshotType.domain);
    return relaunchSystemMenu();
}

bool OVTaskRunner::screenshotHasShadow() {
    return !isSet(objectForKey(kShadowDisabled.key, kShadowDisabled.domain));
}

std::int32_t OVTaskRunner::toggleScreenshotShadow() {
    setObject(screenshotHasShadow(), kShadowDisabled.key, kShadowDisabled.domain);
    return relaunchSystemMenu();
}

std::optional<PropertyListValue> OVTaskRunner::objectForKey(const std::string& key, const std::string& defaults) {
    return services_.userDefaults().create()->objectForKey(key, defaults);
}

void OVTaskRunner::setObject(const PropertyListValue& object, const std::string& forKey, const std::string& defaults) {
    const auto userDefaults = services_.userDefaults().create();
    userDefaults->setObject(object, forKey, defaults);
    userDefaults->synchronize(); // at once, for the process that is launched next
}

} // namespace orvane
