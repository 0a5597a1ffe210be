#include "Support/OVText.h"
#include "Tests/RecordedRunner.h"

#include <cmath>
#include <cstdint>

namespace orvane {
namespace {

using test::Events;
using Value = PropertyListValue;

class Settings : public test::RecordedRunner {
  protected:
    /// What is stored; nothing when it is not.
    std::optional<Value> stored(const std::string& domain, const std::string& key) {
        const auto found = userDefaults.domains.find(domain);
        if (found == userDefaults.domains.end() || !found->second.contains(key)) {
            return std::nullopt;
        }
        return found->second.find(key)->second;
    }
    /// Whether that domain was written, changed or not, and the one writing has been brought to the disk.
    [[nodiscard]] bool hasWritten(const std::string& domain) const {
        return std::count(events.begin(), events.end(), "synchronize") == 1 &&
               std::any_of(events.begin(), events.end(), [&](const std::string& event) {
                   return event.ends_with(" " + domain) && event != "read " + domain;
               });
    }
};

using DefaultsAccess = Settings;

// One test for each row of this table where the settings are alike.

struct Toggle {
    const char* name;
    const char* domain;
    const char* key;
    bool (OVTaskRunner::*read)();
    std::int32_t (OVTaskRunner::*toggle)();
    bool inverted; ///< whether the stored value says the opposite of the setting
    const char* relaunched;
};

constexpr const char* kQuitDock = "quit application \"Dock\"";
constexpr const char* kQuitFinder = "quit application \"Finder\"\ndelay 2\nactivate application \"Finder\"";

const Toggle kToggles[] = {
    {"Dashboard", "com.apple.dashboard", "mcx-disabled", &OVTaskRunner::isDashboardOn, &OVTaskRunner::toggleDashboard,
     true, kQuitDock},
    {"InvisibleFiles", "com.apple.finder", "AppleShowAllFiles", &OVTaskRunner::showInvisibleFiles,
     &OVTaskRunner::toggleInvisibleFiles, false, kQuitFinder},
    {"DownloadWarning", "com.apple.LaunchServices", "LSQuarantine", &OVTaskRunner::showDownloadWarning,
     &OVTaskRunner::toggleDownloadWarning, false, kQuitFinder},
    {"ScreenshotShadow", "com.apple.screencapture", "disable-shadow", &OVTaskRunner::screenshotHasShadow,
     &OVTaskRunner::toggleScreenshotShadow, true, nullptr},
};

class EveryToggle : public Settings, public ::testing::WithParamInterface<Toggle> {
  protected:
    [[nodiscard]] bool read() { return (runner.*GetParam().read)(); }
    [[nodiscard]] std::int32_t toggle() { return (runner.*GetParam().toggle)(); }
    [[nodiscard]] std::optional<Value> storedValue() { return stored(GetParam().domain, GetParam().key); }
    void store(const Value& value) { userDefaults.domains[GetParam().domain].insert_or_assign(GetParam().key, value); }
    /// What the reader answers to a stored value that is a yes or a no.
    [[nodiscard]] bool answerTo(bool value) const { return value != GetParam().inverted; }
};

INSTANTIATE_TEST_SUITE_P(Settings, EveryToggle, ::testing::ValuesIn(kToggles),
                         [](const auto& toggle) { return std::string(toggle.param.name); });

TEST_P(EveryToggle, ReadsANoWhereNothingIsStored) {
    EXPECT_EQ(read(), answerTo(false));
    userDefaults.domains[GetParam().domain].emplace("other", Value(true));
    EXPECT_EQ(read(), answerTo(false));
}

TEST_P(EveryToggle, ReadsNumbersByWhetherTheyAreZero) {
    for (const Value& yes :
         {Value(true), Value(std::int64_t{1}), Value(std::int64_t{-5}), Value(std::uint64_t{2}), Value(0.5)}) {
        store(yes);
        EXPECT_EQ(read(), answerTo(true));
    }
    for (const Value& no : {Value(false), Value(std::int64_t{0}), Value(std::uint64_t{0}), Value(0.0)}) {
        store(no);
        EXPECT_EQ(read(), answerTo(false));
    }
}

TEST_P(EveryToggle, ReadsAKindThatIsNeitherYesNorNoAsANo) {
    for (const Value& other :
         {Value(PropertyListData{1}), Value(PropertyListDate{1}), Value(PropertyListArray{Value(true)}),
          Value(PropertyListDictionary{{"a", Value(true)}})}) {
        store(other);
        EXPECT_EQ(read(), answerTo(false));
    }
}

TEST_P(EveryToggle, StoresTheOppositeAsABooleanEachTime) {
    EXPECT_EQ(toggle(), 0);
    EXPECT_EQ(storedValue(), Value(true));
    EXPECT_EQ(read(), answerTo(true));
    EXPECT_EQ(toggle(), 0);
    EXPECT_EQ(storedValue(), Value(false));
    EXPECT_EQ(read(), answerTo(false));
}

TEST_P(EveryToggle, ReplacesNumbersAndTextsByABoolean) {
    store(Value(std::int64_t{1}));
    EXPECT_EQ(toggle(), 0);
    EXPECT_EQ(storedValue(), Value(false));
    store(Value(std::string("0")));
    EXPECT_EQ(toggle(), 0);
    EXPECT_EQ(storedValue(), Value(true));
}

TEST_P(EveryToggle, KeepsWhatElseIsStored) {
    userDefaults.domains[GetParam().domain].emplace("other", Value(std::string("kept")));
    userDefaults.domains["com.example.other"].emplace("x", Value(true));
    EXPECT_EQ(toggle(), 0);
    EXPECT_EQ(userDefaults.domains.size(), 2U);
    EXPECT_EQ(userDefaults.domains[GetParam().domain],
              (PropertyListDictionary{{"other", Value(std::string("kept"))}, {GetParam().key, Value(true)}}));
}

TEST_P(EveryToggle, ReadsAndWritesThroughFreshDefaultsBeforeTheRelaunch) {
    EXPECT_EQ(toggle(), 0);
    const std::string domain = GetParam().domain;
    const char* const relaunch = GetParam().relaunched != nullptr ? "script" : "run /usr/bin/killall";
    EXPECT_EQ(events, (Events{"fresh defaults", "read " + domain, "fresh defaults", "set in " + domain, "synchronize",
                              relaunch}));
    if (GetParam().relaunched != nullptr) {
        EXPECT_EQ(appleScript.sources, Events{GetParam().relaunched});
    } else {
        EXPECT_EQ(commands.runs[0].arguments, (Events{"-SIGHUP", "SystemUIServer"}));
    }
}

TEST_P(EveryToggle, ReturnsTheRelaunchsFailureButHasWritten) {
    appleScript.result = false;
    commands.results = {1};
    EXPECT_EQ(toggle(), 1);
    EXPECT_EQ(storedValue(), Value(true));
}

TEST_P(EveryToggle, DoesNotNoticeAFailedWrite) {
    userDefaults.synchronizes = false;
    EXPECT_EQ(toggle(), 0);
    EXPECT_EQ(log.messages, Events());
    EXPECT_TRUE(owner.chunks.empty());
}

TEST_P(EveryToggle, WithoutDefaultsReadsAsWithNothingStored) {
    OVTaskRunner headless(headlessServices());
    EXPECT_EQ((headless.*GetParam().read)(), answerTo(false));
    EXPECT_EQ((headless.*GetParam().toggle)(), 0) << "the relaunch's";
    EXPECT_EQ((headless.*GetParam().read)(), answerTo(false));
    ASSERT_EQ(log.messages.size(), 1U);
    EXPECT_NE(log.messages[0].find(GetParam().domain), std::string::npos) << log.messages[0];
}

// What each setting has of its own.

TEST_F(Settings, DashboardIsOnUntilDisabled) {
    EXPECT_TRUE(runner.isDashboardOn());
    EXPECT_EQ(runner.toggleDashboard(), 0);
    EXPECT_EQ(stored("com.apple.dashboard", "mcx-disabled"), Value(true));
    EXPECT_FALSE(runner.isDashboardOn());
}

TEST_F(Settings, InvisibleFilesAreShownForOneTextAlone) {
    auto& value = userDefaults.domains["com.apple.finder"]["AppleShowAllFiles"];
    value = Value(std::string("ON"));
    EXPECT_TRUE(runner.showInvisibleFiles());
    for (const char* text : {"on", "On", "YES", "yes", "1", "true", "ON ", " ON", "", "OFF"}) {
        value = Value(std::string(text));
        EXPECT_FALSE(runner.showInvisibleFiles()) << text;
    }
    value = Value(std::int64_t{1});
    EXPECT_TRUE(runner.showInvisibleFiles());
}

TEST_F(Settings, TogglingInvisibleFilesNeverStoresAText) {
    auto& value = userDefaults.domains["com.apple.finder"]["AppleShowAllFiles"];
    value = Value(std::string("ON"));
    EXPECT_EQ(runner.toggleInvisibleFiles(), 0);
    EXPECT_EQ(value, Value(false));
    value = Value(std::string("YES"));
    EXPECT_EQ(runner.toggleInvisibleFiles(), 0);
    EXPECT_EQ(value, Value(true));
}

TEST_F(Settings, TheOthersReadATextByItsMeaning) {
    userDefaults.domains["com.apple.dashboard"]["mcx-disabled"] = Value(std::string("YES"));
    userDefaults.domains["com.apple.LaunchServices"]["LSQuarantine"] = Value(std::string("1"));
    userDefaults.domains["com.apple.screencapture"]["disable-shadow"] = Value(std::string("true"));
    EXPECT_FALSE(runner.isDashboardOn());
    EXPECT_TRUE(runner.showDownloadWarning());
    EXPECT_FALSE(runner.screenshotHasShadow());
    userDefaults.domains["com.apple.LaunchServices"]["LSQuarantine"] = Value(std::string("ON"));
    EXPECT_FALSE(runner.showDownloadWarning()) << "means nothing outside the Finder";
}

TEST_F(Settings, TheDownloadWarningIsOffWhereNothingIsStored) {
    EXPECT_FALSE(runner.showDownloadWarning());
    EXPECT_EQ(runner.toggleDownloadWarning(), 0);
    EXPECT_EQ(stored("com.apple.LaunchServices", "LSQuarantine"), Value(true));
}

TEST_F(Settings, ScreenshotFormatsStandInTheirOrder) {
    EXPECT_EQ(runner.screenshotFormats(), (Events{"JPG", "PNG", "PDF", "TIFF"}));
    EXPECT_EQ(events, Events());
}

TEST_F(Settings, AScreenshotFormatIsStoredInLowerCase) {
    EXPECT_EQ(runner.screenshotFormat(), std::nullopt);
    const auto formats = runner.screenshotFormats();
    const Events lower = {"jpg", "png", "pdf", "tiff"};
    for (std::size_t index = 0; index < formats.size(); ++index) {
        EXPECT_EQ(runner.setScreenshotFormat(formats[index]), 0);
        EXPECT_EQ(stored("com.apple.screencapture", "type"), Value(lower[index]));
        EXPECT_EQ(runner.screenshotFormat(), Value(lower[index]));
    }
}

TEST_F(Settings, AScreenshotFormatIsWrittenBeforeTheRelaunch) {
    commands.results = {1};
    userDefaults.domains["com.apple.screencapture"]["disable-shadow"] = Value(true);
    EXPECT_EQ(runner.setScreenshotFormat("PNG"), 1);
    EXPECT_EQ(events,
              (Events{"fresh defaults", "set in com.apple.screencapture", "synchronize", "run /usr/bin/killall"}));
    EXPECT_FALSE(runner.screenshotHasShadow()) << "its neighbour is kept";
}

TEST_F(Settings, AScreenshotFormatThatIsStoredAlreadyIsWrittenAgain) {
    userDefaults.domains["com.apple.screencapture"]["type"] = Value(std::string("png"));
    EXPECT_EQ(runner.setScreenshotFormat("PNG"), 0);
    EXPECT_TRUE(hasWritten("com.apple.screencapture"));
}

TEST_F(Settings, AStoredScreenshotFormatIsReturnedAsItIs) {
    auto& value = userDefaults.domains["com.apple.screencapture"]["type"];
    for (const Value& kept : {Value(std::string("Png")), Value(std::string()), Value(std::int64_t{3}),
                              Value(PropertyListArray{Value(std::string("png"))})}) {
        value = kept;
        EXPECT_EQ(runner.screenshotFormat(), kept);
    }
}

// The accessors.

TEST_F(DefaultsAccess, AnswersNothingWithoutTheDomainOrTheKey) {
    EXPECT_EQ(runner.objectForKey("key", "com.example.none"), std::nullopt);
    userDefaults.domains["com.example.some"].emplace("other", Value(true));
    EXPECT_EQ(runner.objectForKey("key", "com.example.some"), std::nullopt);
    EXPECT_EQ(runner.objectForKey("other", "com.example.some"), Value(true));
    EXPECT_EQ(events, (Events{"fresh defaults", "read com.example.none", "fresh defaults", "read com.example.some",
                              "fresh defaults", "read com.example.some"}));
}

TEST_F(DefaultsAccess, MakesADomainWithTheOneKey) {
    runner.setObject(Value(std::string("value")), "key", "com.example.new");
    EXPECT_EQ(userDefaults.domains.size(), 1U);
    EXPECT_EQ(userDefaults.domains["com.example.new"], (PropertyListDictionary{{"key", Value(std::string("value"))}}));
    EXPECT_EQ(events, (Events{"fresh defaults", "set in com.example.new", "synchronize"}));
}

TEST_F(DefaultsAccess, ReplacesAKeyWhateverItsKindAndKeepsTheOthers) {
    userDefaults.domains["com.example.some"] = {{"key", Value(PropertyListArray{})}, {"other", Value(2.5)}};
    runner.setObject(Value(PropertyListDictionary{{"deep", Value(false)}}), "key", "com.example.some");
    EXPECT_EQ(userDefaults.domains["com.example.some"],
              (PropertyListDictionary{{"key", Value(PropertyListDictionary{{"deep", Value(false)}})},
                                      {"other", Value(2.5)}}));
}

TEST_F(DefaultsAccess, WritesAValueThatIsThereAlready) {
    const PropertyListDictionary before = {{"key", Value(true)}, {"other", Value(2.5)}};
    userDefaults.domains["com.example.some"] = before;
    runner.setObject(Value(true), "key", "com.example.some");
    EXPECT_EQ(userDefaults.domains["com.example.some"], before);
    EXPECT_TRUE(hasWritten("com.example.some"));
}

TEST_F(DefaultsAccess, ElementsOfListsKeepTheirKinds) {
    const Value one(std::int64_t{1});
    const Value list(PropertyListArray{Value(true), one, Value(std::uint64_t{1}), Value(1.0), Value(std::string("1")),
                                       Value(PropertyListData{1}), Value(PropertyListDate{1}),
                                       Value(PropertyListArray{one}), Value(PropertyListDictionary{{"1", one}})});
    runner.setObject(list, "list", "com.example.some");
    EXPECT_EQ(runner.objectForKey("list", "com.example.some"), list);
    // Were a number's kind lost, a yes would be a 1 to the program that reads it.
    EXPECT_NE(list, Value(PropertyListArray(9, one)));
    EXPECT_NE(Value(PropertyListArray{Value(true)}), Value(PropertyListArray{one}));
}

// Yes and no.

TEST(PropertyListBoolValue, OfEveryKindOfValue) {
    EXPECT_TRUE(boolValue(Value(true)));
    EXPECT_FALSE(boolValue(Value(false)));
    EXPECT_TRUE(boolValue(Value(std::int64_t{1} << 40)));
    EXPECT_TRUE(boolValue(Value(std::uint64_t{1} << 63)));
    EXPECT_TRUE(boolValue(Value(-0.25)));
    EXPECT_TRUE(boolValue(Value(std::nan(""))));
    EXPECT_FALSE(boolValue(Value(-0.0)));
    EXPECT_TRUE(boolValue(Value(std::string("yes"))));
    EXPECT_FALSE(boolValue(Value(std::string("no"))));
    EXPECT_FALSE(boolValue(Value(PropertyListData{1})));
    EXPECT_FALSE(boolValue(Value(PropertyListDate{1})));
    EXPECT_FALSE(boolValue(Value(PropertyListArray{Value(true)})));
    EXPECT_FALSE(boolValue(Value(PropertyListDictionary{{"a", Value(true)}})));
}

} // namespace
} // namespace orvane
