#pragma once

#include "Platform/AlertPanel.h"
#include "Platform/Bundle.h"
#include "Platform/Clock.h"
#include "Platform/FileManager.h"
#include "Platform/Gestalt.h"
#include "Platform/HostMemory.h"
#include "Platform/Locale.h"
#include "Platform/UserDefaults.h"
#include "Platform/Workspace.h"

#include <array>
#include <cstdio>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Services that do nothing and note in one list, in order, what was asked of them.
namespace orvane::test {

using Events = std::vector<std::string>;

class FakeBundle final : public Bundle {
  public:
    std::optional<std::string> bundleIdentifier() override { return identifier; }
    std::optional<std::string> pathForResource(std::string_view name, std::string_view ofType) override {
        const auto found = resources.find(std::string(name) + "." + std::string(ofType));
        return found != resources.end() ? std::optional(found->second) : std::nullopt;
    }
    std::string localizedString(std::string_view key) override {
        const auto found = table.find(key);
        return found != table.end() ? found->second : std::string(key);
    }

    std::optional<std::string> identifier = "com.example.host";
    std::map<std::string, std::string> resources; ///< "name.type" and the path
    std::map<std::string, std::string, std::less<>> table;
};

class FakeLocale final : public Locale {
  public:
    std::string decimalSeparator() override { return separator; }
    std::string zeroDigit() override { return zero; }
    std::string dateString() override { return date; }

    std::string separator = ".";
    std::string zero = "0";
    std::string date = "2026-11-20";
};

class FakeClock final : public Clock {
  public:
    explicit FakeClock(Events& events) : events_(events) {}
    void sleep(double seconds) override {
        std::array<char, 32> text = {};
        static_cast<void>(std::snprintf(text.data(), text.size(), "sleep %.17g", seconds)); // to the last bit
        events_.emplace_back(text.data());
    }

  private:
    Events& events_;
};

class FakeRunningApplication final : public RunningApplication {
  public:
    FakeRunningApplication(Events& events, std::string itsName, std::optional<std::string> itsIdentifier)
        : name(std::move(itsName)), identifier(std::move(itsIdentifier)), events_(events) {}

    std::optional<std::string> bundleIdentifier() override { return identifier; }
    std::optional<std::string> localizedName() override { return name; }
    std::optional<std::string> bundlePath() override { return path; }
    std::int32_t processIdentifier() override { return processID; }
    std::int32_t activationPolicy() override { return policy; }
    bool terminate() override {
        events_.push_back("terminate " + name.value_or("(no name)"));
        return terminates;
    }

    std::optional<std::string> name;
    std::optional<std::string> identifier;
    std::optional<std::string> path = "/Applications/Some.app";
    std::int32_t processID = -1;
    std::int32_t policy = kActivationPolicyRegular;
    bool terminates = true;

  private:
    Events& events_;
};

class FakeWorkspace final : public Workspace {
  public:
    explicit FakeWorkspace(Events& events) : events_(events) {}

    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override { return running; }
    bool launchApplication(const std::string& path) override {
        events_.push_back("launch " + path);
        return launches;
    }
    std::shared_ptr<RunningApplication> launchApplicationAtURL(const std::string& path,
                                                               std::uint32_t options) override {
        events_.push_back("launch URL " + path + " with options " + std::to_string(options));
        return launched;
    }
    bool openFile(const std::string& path, const std::string& withApplication) override {
        events_.push_back("open " + path + " with " + withApplication);
        return opens;
    }
    double appKitVersionNumber() override { return appKitVersion; }

    std::vector<std::shared_ptr<RunningApplication>> running;
    bool launches = true;
    std::shared_ptr<RunningApplication> launched;
    bool opens = true;
    double appKitVersion = 1561.6;

  private:
    Events& events_;
};

class FakeAlertPanel final : public AlertPanel {
  public:
    explicit FakeAlertPanel(Events& events) : events_(events) {}
    std::int32_t run(const AlertPanelTexts& texts) override {
        events_.emplace_back("alert");
        shown.push_back(texts);
        return answer;
    }

    std::vector<AlertPanelTexts> shown;
    std::int32_t answer = kAlertPanelAlternate;

  private:
    Events& events_;
};

/// Domains in memory, shared by all the objects that it makes.
class FakeUserDefaultsFactory final : public UserDefaultsFactory {
  public:
    explicit FakeUserDefaultsFactory(Events& events) : events_(events) {}
    std::unique_ptr<UserDefaults> create() override {
        events_.emplace_back("fresh defaults");
        return std::make_unique<Object>(*this);
    }

    std::map<std::string, PropertyListDictionary> domains;
    bool synchronizes = true;

  private:
    class Object final : public UserDefaults {
      public:
        explicit Object(FakeUserDefaultsFactory& factory) : factory_(factory) {}
        std::optional<PropertyListValue> objectForKey(const std::string& key, const std::string& domain) override {
            factory_.events_.push_back("read " + domain);
            const auto found = factory_.domains.find(domain);
            if (found == factory_.domains.end() || !found->second.contains(key)) {
                return std::nullopt;
            }
            return found->second.find(key)->second;
        }
        void setObject(const PropertyListValue& object, const std::string& forKey, const std::string& domain) override {
            factory_.events_.push_back("set in " + domain);
            factory_.domains[domain].insert_or_assign(forKey, object);
        }
        bool synchronize() override {
            factory_.events_.emplace_back("synchronize");
            return factory_.synchronizes;
        }

      private:
        FakeUserDefaultsFactory& factory_;
    };

    Events& events_;
};

class FakeFileManager final : public FileManager {
  public:
    explicit FakeFileManager(Events& events) : events_(events) {}
    std::string displayNameAtPath(const std::string& path) override {
        events_.push_back("display name of " + path);
        return displayName;
    }
    std::optional<std::string> hideExtensionOfItemAtPath(const std::string& path) override {
        events_.push_back("hide extension of " + path);
        return hidingError;
    }

    std::string displayName = "Documents";
    std::optional<std::string> hidingError;

  private:
    Events& events_;
};

class FakeHostMemory final : public HostMemory {
  public:
    std::optional<std::int32_t> pageSize() override { return size; }
    std::optional<std::uint32_t> freePages() override {
        if (pages.empty()) {
            return std::nullopt;
        }
        const auto result = pages.front();
        if (pages.size() > 1) {
            pages.pop_front();
        }
        return result;
    }

    std::optional<std::int32_t> size = 4096;
    std::deque<std::optional<std::uint32_t>> pages{1000}; ///< one answer a question, the last for all further ones
};

class FakeGestalt final : public Gestalt {
  public:
    std::int16_t ask(std::uint32_t selector, std::int32_t* response) override {
        asked.push_back(selector);
        const auto error = errors.find(selector);
        if (error != errors.end()) {
            return error->second;
        }
        const auto answer = answers.find(selector);
        if (answer == answers.end()) {
            return gestaltUndefSelectorErr;
        }
        *response = answer->second;
        return 0;
    }

    /// Answers as version 10.minor.bugFix does.
    void become(std::int32_t major, std::int32_t minor, std::int32_t bugFix) {
        answers = {{gestaltSystemVersion, 0x1068},
                   {gestaltSystemVersionMajor, major},
                   {gestaltSystemVersionMinor, minor},
                   {gestaltSystemVersionBugFix, bugFix}};
    }

    std::map<std::uint32_t, std::int32_t> answers;
    std::map<std::uint32_t, std::int16_t> errors;
    std::vector<std::uint32_t> asked;
};

} // namespace orvane::test
