#include "Backends/Posix/MadeOnce.h"
#include "Backends/Posix/PosixBundle.h"
#include "Backends/Posix/PosixGestalt.h"
#include "Backends/Posix/PropertyListStrings.h"
#include "Backends/Posix/StringsTable.h"
#include "Backends/Posix/UserLanguages.h"
#include "Support/OVNumber.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Support/ZRSystemVersion.h"
#include "Tests/Fakes/RecordingLog.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <atomic>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace orvane::test {
namespace {

using namespace std::string_literals;
using testing::RecordingLog;
using Languages = std::vector<std::string>;

// The user's languages.

Languages languagesIn(const std::map<std::string, std::string>& environment) {
    return userLanguages([&](const char* name) {
        const auto found = environment.find(name);
        return found != environment.end() ? found->second.c_str() : nullptr;
    });
}

TEST(UserLanguagesTest, ALocaleNamesALanguageWithAndWithoutItsCountry) {
    EXPECT_EQ(languagesIn({{"LANG", "de_DE.UTF-8"}}), (Languages{"de_DE", "de", "en"}));
    EXPECT_EQ(languagesIn({{"LANG", "de_DE@euro"}}), (Languages{"de_DE", "de", "en"}));
    EXPECT_EQ(languagesIn({{"LANG", "fr"}}), (Languages{"fr", "en"}));
    EXPECT_EQ(languagesIn({{"LANG", "zh-Hans"}}), (Languages{"zh-Hans", "zh", "en"}));
}

TEST(UserLanguagesTest, WithoutALocaleThereIsEnglish) {
    EXPECT_EQ(languagesIn({}), (Languages{"en"}));
    for (const char* const locale : {"", "C", "POSIX", "C.UTF-8"}) {
        EXPECT_EQ(languagesIn({{"LANG", locale}}), (Languages{"en"})) << locale;
    }
}

TEST(UserLanguagesTest, TheVariablesCountInGettextsOrder) {
    EXPECT_EQ(languagesIn({{"LC_ALL", "it"}, {"LC_MESSAGES", "fr"}, {"LANG", "de"}}), (Languages{"it", "en"}));
    EXPECT_EQ(languagesIn({{"LC_ALL", ""}, {"LC_MESSAGES", "fr"}, {"LANG", "de"}}), (Languages{"fr", "en"}));
    EXPECT_EQ(languagesIn({{"LANGUAGE", "es:pt_BR"}, {"LC_ALL", "it"}}), (Languages{"es", "pt_BR", "pt", "en"}));
    EXPECT_EQ(languagesIn({{"LANGUAGE", ""}, {"LANG", "de"}}), (Languages{"de", "en"}));
}

TEST(UserLanguagesTest, AListOfLanguagesNeedsALocale) {
    EXPECT_EQ(languagesIn({{"LANGUAGE", "de"}}), (Languages{"en"}));
    EXPECT_EQ(languagesIn({{"LANGUAGE", "de"}, {"LANG", "C"}}), (Languages{"en"}));
    EXPECT_EQ(languagesIn({{"LANGUAGE", "de"}, {"LC_ALL", "POSIX"}, {"LANG", "de"}}), (Languages{"en"}));
}

TEST(UserLanguagesTest, NothingComesAfterEnglish) {
    EXPECT_EQ(languagesIn({{"LANG", "en_GB.UTF-8"}}), (Languages{"en_GB", "en"}));
    EXPECT_EQ(languagesIn({{"LANGUAGE", "fr:en_US:de"}, {"LANG", "fr_FR"}}), (Languages{"fr", "en_US", "en"}));
}

TEST(UserLanguagesTest, EachLanguageStandsOnce) {
    EXPECT_EQ(languagesIn({{"LANGUAGE", "de_AT:de:de_DE::de"}, {"LANG", "de"}}),
              (Languages{"de_AT", "de", "de_DE", "en"}));
}

TEST(UserLanguagesTest, WhatCouldLeadToAnotherFolderIsNoLanguage) {
    EXPECT_EQ(languagesIn({{"LANGUAGE", "../../evil:/de:d\xC3\xA9:it"}, {"LANG", "de"}}), (Languages{"it", "en"}));
}

// Resources.

class BundleTest : public ::testing::Test {
  protected:
    [[nodiscard]] std::unique_ptr<PosixBundle> bundleAt(std::string_view folder, Languages languages = {"en"}) const {
        return std::make_unique<PosixBundle>(folder_.at(folder), std::move(languages));
    }

    std::string makeFile(const std::string& name, std::string_view contents = "") {
        folder_.makeFolder(name.substr(0, name.rfind('/')));
        return folder_.makeFile(name, contents);
    }

    Folder folder_;
    RecordingLog log_;
};

TEST_F(BundleTest, AProgramWithoutABundleHasItsResourcesBesideIt) {
    const std::string path = makeFile("tools/Resources/Template.savedSearch");
    const auto bundle = bundleAt("tools");
    EXPECT_EQ(bundle->pathForResource("Template", "savedSearch"), path);
    EXPECT_EQ(bundle->pathForResource("Template.savedSearch", ""), path);
    EXPECT_EQ(bundle->pathForResource("Template", "plist"), std::nullopt);
    EXPECT_EQ(bundle->pathForResource("Other", "savedSearch"), std::nullopt);
    EXPECT_EQ(bundle->bundleIdentifier(), std::nullopt);
}

TEST_F(BundleTest, AnApplicationsResourcesStandInItsContents) {
    const std::string path = makeFile("Host.app/Contents/Resources/Template.savedSearch");
    makeFile("Host.app/Contents/MacOS/Resources/Other.savedSearch");
    const auto bundle = bundleAt("Host.app/Contents/MacOS");
    EXPECT_EQ(bundle->pathForResource("Template", "savedSearch"), path);
    EXPECT_EQ(bundle->pathForResource("Other", "savedSearch"), std::nullopt);
}

TEST_F(BundleTest, ATranslatedResourceComesBeforeThePlainOne) {
    const std::string plain = makeFile("tools/Resources/Text.txt");
    EXPECT_EQ(bundleAt("tools", {"de_DE", "de", "en"})->pathForResource("Text", "txt"), plain);
    const std::string english = makeFile("tools/Resources/en.lproj/Text.txt");
    EXPECT_EQ(bundleAt("tools", {"de_DE", "de", "en"})->pathForResource("Text", "txt"), english);
    const std::string german = makeFile("tools/Resources/de.lproj/Text.txt");
    EXPECT_EQ(bundleAt("tools", {"de_DE", "de", "en"})->pathForResource("Text", "txt"), german);
    const std::string ofGermany = makeFile("tools/Resources/de_DE.lproj/Text.txt");
    EXPECT_EQ(bundleAt("tools", {"de_DE", "de", "en"})->pathForResource("Text", "txt"), ofGermany);
    EXPECT_EQ(bundleAt("tools", {"fr", "en"})->pathForResource("Text", "txt"), english);
}

TEST_F(BundleTest, ALanguagesFolderMayBeSpelledWithAHyphen) {
    const std::string path = makeFile("tools/Resources/pt-BR.lproj/Text.txt");
    EXPECT_EQ(bundleAt("tools", {"pt_BR", "pt", "en"})->pathForResource("Text", "txt"), path);
}

TEST_F(BundleTest, AnInstalledProgramAlsoFindsWhatIsShared) {
    const std::string shared = makeFile("usr/share/orvane/Template.savedSearch");
    EXPECT_EQ(bundleAt("usr/bin")->pathForResource("Template", "savedSearch"), shared);
    EXPECT_EQ(bundleAt("usr/libexec")->pathForResource("Template", "savedSearch"), std::nullopt);
    EXPECT_EQ(bundleAt("usr/cabin")->pathForResource("Template", "savedSearch"), std::nullopt);
    const std::string own = makeFile("usr/bin/Resources/Template.savedSearch");
    EXPECT_EQ(bundleAt("usr/bin")->pathForResource("Template", "savedSearch"), own);
}

TEST_F(BundleTest, WhereTheProgramsPlaceIsNotKnownThereIsNothing) {
    PosixBundle bundle(std::nullopt, {"en"});
    EXPECT_EQ(bundle.pathForResource("Template", "savedSearch"), std::nullopt);
    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
    EXPECT_EQ(bundle.localizedString("%i byte"), "%i byte");
}

TEST_F(BundleTest, TheIdentifierComesFromTheInformationList) {
    makeFile(
        "Host.app/Contents/Info.plist",
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
        "<key>CFBundleName</key><string>Host</string>"
        "<key>CFBundleDocumentTypes</key><array><dict><key>CFBundleIdentifier</key><string>no</string></dict></array>"
        "<key>CFBundleIdentifier</key><string>com.example.host</string></dict></plist>\n");
    EXPECT_EQ(bundleAt("Host.app/Contents/MacOS")->bundleIdentifier(), "com.example.host");
}

TEST_F(BundleTest, WithoutAReadableInformationListThereIsNoIdentifier) {
    folder_.makeFolder("Host.app/Contents/MacOS");
    EXPECT_EQ(bundleAt("Host.app/Contents/MacOS")->bundleIdentifier(), std::nullopt);
    makeFile("Host.app/Contents/Info.plist", "<plist><dict><key>CFBundleIdentifier</key><string>com.example");
    EXPECT_EQ(bundleAt("Host.app/Contents/MacOS")->bundleIdentifier(), std::nullopt);
    makeFile("Host.app/Contents/Info.plist",
             "<plist><dict><key>CFBundleName</key><string>Host</string></dict></plist>");
    EXPECT_EQ(bundleAt("Host.app/Contents/MacOS")->bundleIdentifier(), std::nullopt);
    makeFile("tools/Info.plist",
             "<plist><dict><key>CFBundleIdentifier</key><string>com.example.host</string></dict></plist>");
    EXPECT_EQ(bundleAt("tools")->bundleIdentifier(), std::nullopt) << "a folder is no bundle";
}

// Translated texts.

constexpr std::string_view kGermanTable = "/* Gr\u00F6\u00DFen */\n"
                                          "\"%i byte\" = \"%i Byte\";\n"
                                          "\"%1.1f KB\" = \"%1.1f KByte\"; // so\n"
                                          "\"Calculating size...\" = \"Gr\u00F6\u00DFe wird berechnet \u2026\";\n";

TEST_F(BundleTest, TextsComeFromTheTableInTheUsersLanguage) {
    makeFile("tools/Resources/de.lproj/Localizable.strings", kGermanTable);
    const auto bundle = bundleAt("tools", {"de_DE", "de", "en"});
    EXPECT_EQ(bundle->localizedString("%i byte"), "%i Byte");
    EXPECT_EQ(bundle->localizedString("Calculating size..."), "Gr\u00F6\u00DFe wird berechnet \u2026");
    EXPECT_EQ(bundleAt("tools", {"en"})->localizedString("%i byte"), "%i byte");
}

TEST_F(BundleTest, AMissingEntryIsItsKey) {
    makeFile("tools/Resources/de.lproj/Localizable.strings", kGermanTable);
    makeFile("tools/Resources/Localizable.strings", "\"%i bytes\" = \"many\";");
    const auto bundle = bundleAt("tools", {"de", "en"});
    EXPECT_EQ(bundle->localizedString("%i bytes"), "%i bytes") << "one table is the user's";
    EXPECT_EQ(bundle->localizedString(""), "");
}

TEST_F(BundleTest, WithoutATableEachTextIsItsKey) {
    const auto bundle = bundleAt("tools", {"de", "en"});
    EXPECT_EQ(bundle->localizedString("%i byte"), "%i byte");
    EXPECT_TRUE(log_.messages.empty());
}

TEST_F(BundleTest, ATableOutsideTheLanguagesFoldersIsForAllOthers) {
    makeFile("tools/Resources/de.lproj/Localizable.strings", kGermanTable);
    makeFile("tools/Resources/Localizable.strings", "\"%i byte\" = \"one\";");
    EXPECT_EQ(bundleAt("tools", {"fr", "en"})->localizedString("%i byte"), "one");
}

TEST_F(BundleTest, ATableMayBeUTF16) {
    makeFile("tools/Resources/Localizable.strings", "\xFF\xFE\"\0k\0\"\0=\0\"\0\xF6\0\"\0;\0"s);
    EXPECT_EQ(bundleAt("tools")->localizedString("k"), "\u00F6");
    makeFile("tools/Resources/Localizable.strings", "\xFE\xFF\0\"\0k\0\"\0=\0\"\0\xF6\0\"\0;"s);
    EXPECT_EQ(bundleAt("tools")->localizedString("k"), "\u00F6");
}

TEST_F(BundleTest, ADamagedTableIsToldOnceAndNotUsedInPart) {
    const std::string path = makeFile("tools/Resources/de.lproj/Localizable.strings",
                                      "\"%i byte\" = \"%i Byte\";\n\n\"%i bytes\" = \"%i Byte\"\n\"x\" = \"y\";");
    const auto bundle = bundleAt("tools", {"de", "en"});
    EXPECT_EQ(bundle->localizedString("%i byte"), "%i byte");
    EXPECT_EQ(bundle->localizedString("%i bytes"), "%i bytes");
    EXPECT_EQ(log_.messages, (std::vector<std::string>{"The translated texts cannot be used: " + path +
                                                       ":4: a semicolon is missing"}));
}

TEST_F(BundleTest, ATableInNoEncodingIsToldOnce) {
    const std::string path = makeFile("tools/Resources/Localizable.strings", "\"k\" = \"\xF6\";");
    const auto bundle = bundleAt("tools");
    EXPECT_EQ(bundle->localizedString("k"), "k");
    EXPECT_EQ(bundle->localizedString("k"), "k");
    ASSERT_EQ(log_.messages.size(), 1U);
    EXPECT_TRUE(log_.messages[0].starts_with("The translated texts cannot be used: " + path + ": "))
        << log_.messages[0];
}

TEST_F(BundleTest, TheTableIsReadOnce) {
    const std::string path = makeFile("tools/Resources/Localizable.strings", "\"k\" = \"first\";");
    const auto bundle = bundleAt("tools");
    EXPECT_EQ(bundle->localizedString("k"), "first");
    makeFile("tools/Resources/Localizable.strings", "\"k\" = \"second\";");
    EXPECT_EQ(bundle->localizedString("k"), "first");
}

TEST_F(BundleTest, ThreadsThatAskAtTheSameTimeGetTheSameTextsAndOneReport) {
    makeFile("tools/Resources/Localizable.strings", "\"k\" = ");
    for (int round = 0; round < 20; ++round) {
        log_.messages.clear();
        const auto bundle = bundleAt("tools");
        std::atomic<int> right{0};
        std::vector<std::thread> threads;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([&] { right += bundle->localizedString("k") == "k" ? 1 : 0; });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        EXPECT_EQ(right, 4);
        EXPECT_EQ(log_.messages.size(), 1U);
    }
}

TEST_F(BundleTest, ByteCountsAreShownInTheUsersLanguage) {
    makeFile("tools/Resources/de.lproj/Localizable.strings", kGermanTable);
    const auto bundle = bundleAt("tools", {"de", "en"});
    FakeLocale locale;
    locale.separator = ",";
    EXPECT_EQ(ZRBytesValueTransformer::formatBytes(1, *bundle, locale), "1 Byte");
    EXPECT_EQ(ZRBytesValueTransformer::formatBytes(1500, *bundle, locale), "1,5 KByte");
    EXPECT_EQ(ZRBytesValueTransformer::formatBytes(1500000, *bundle, locale), "1,5 MB");
}

TEST(PlatformBundleTest, IsThatOfTheRunningProgramAndKeepsToIt) {
    Bundle& bundle = Bundle::platform();
    EXPECT_EQ(&bundle, &Bundle::platform());
    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
    EXPECT_EQ(bundle.localizedString("no such key"), "no such key");
    EXPECT_EQ(bundle.pathForResource("no such resource", "txt"), std::nullopt);
}

TEST(MadeOnceTest, MakesOneAndKeepsIt) {
    MadeOnce<std::string> once;
    int made = 0;
    int kept = 0;
    const auto ask = [&]() -> const std::string& {
        return once.value(
            [&] {
                ++made;
                return std::make_unique<std::string>("value");
            },
            [&](const std::string& value) { kept += value == "value" ? 1 : 0; });
    };
    const std::string& first = ask();
    EXPECT_EQ(&first, &ask());
    EXPECT_EQ(made, 1);
    EXPECT_EQ(kept, 1);
    once.discard();
}

TEST(MadeOnceTest, OneMadeTooLateIsThrownAway) {
    MadeOnce<std::string> once;
    int kept = 0;
    const auto count = [&](const std::string& /*value*/) { ++kept; };
    const std::string& value = once.value(
        [&] {
            once.value([] { return std::make_unique<std::string>("quicker"); }, count);
            return std::make_unique<std::string>("slower");
        },
        count);
    EXPECT_EQ(value, "quicker");
    EXPECT_EQ(kept, 1);
    once.discard();
}

// The format of a strings table.

std::optional<std::string> valueIn(std::string_view text, std::string_view key) {
    std::string damage;
    const auto table = readStringsTable(text, damage);
    if (!table) {
        return std::nullopt;
    }
    const auto found = table->find(key);
    return found != table->end() ? std::optional(found->second) : std::nullopt;
}

std::string damageIn(std::string_view text) {
    std::string damage;
    return readStringsTable(text, damage) ? "none" + damage : damage;
}

TEST(StringsTableTest, CommentsAndSpaceStandAnywhereBetween) {
    EXPECT_EQ(
        valueIn("// one\r\n/* two\n * \"k\" = \"no\"; */ \"k\" /**/ = // three\n \"v\" /* four */ ; /* five */", "k"),
        "v");
    EXPECT_EQ(valueIn("\"k\" = \"/* v */ // v\";", "k"), "/* v */ // v");
    EXPECT_EQ(damageIn(""), "none");
    EXPECT_EQ(damageIn("// nothing"), "none");
}

TEST(StringsTableTest, EscapesStandForTheirCharacters) {
    EXPECT_EQ(valueIn(R"("k" = "\"\\\n\t\r\'";)", "k"), "\"\\\n\t\r'");
    EXPECT_EQ(valueIn(R"("\"k\"" = "v";)", "\"k\""), "v");
    EXPECT_EQ(valueIn(R"("k" = "\U00f6\U20AC\Ud83d\Ude00";)", "k"), "\u00F6\u20AC\U0001F600");
    EXPECT_EQ(valueIn("\"k\" = \"one\\\ntwo\nthree\";", "k"), "one\ntwo\nthree");
}

TEST(StringsTableTest, WordsNeedNoQuotes) {
    EXPECT_EQ(valueIn("key = value;", "key"), "value");
    EXPECT_EQ(valueIn("a.b-c/d:$1_x=1.5;", "a.b-c/d:$1_x"), "1.5");
    EXPECT_EQ(valueIn("key = value/* a comment */;", "key"), "value");
    EXPECT_EQ(valueIn("key = value// a comment\n;", "key"), "value");
    EXPECT_EQ(valueIn("'k' = 'a \"v\"';", "k"), "a \"v\"");
}

TEST(StringsTableTest, AKeyWithoutAValueStandsForItself) {
    EXPECT_EQ(valueIn("\"k\"; \"l\" = \"m\";", "k"), "k");
    EXPECT_EQ(valueIn("\"k\"; \"l\" = \"m\";", "l"), "m");
}

TEST(StringsTableTest, TheLaterOfTwoEntriesCounts) {
    EXPECT_EQ(valueIn("\"k\" = \"first\"; \"k\" = \"second\";", "k"), "second");
}

TEST(StringsTableTest, EachDamageIsNamedWithItsLine) {
    EXPECT_EQ(damageIn("\"k\" = \"v\""), "1: a semicolon is missing");
    EXPECT_EQ(damageIn("\"k\" = \"v\";\n\"k\" \"v\";"), "2: a semicolon is missing");
    EXPECT_EQ(damageIn("\"k\" = ;"), "1: a value is missing");
    EXPECT_EQ(damageIn("\"k\" ="), "1: a value is missing");
    EXPECT_EQ(damageIn("= \"v\";"), "1: a key is missing");
    EXPECT_EQ(damageIn("{ \"k\" = \"v\"; }"), "1: a key is missing");
    EXPECT_EQ(damageIn("\"k\" = \"v\";;"), "1: a key is missing");
    EXPECT_EQ(damageIn("\n\"k\" = \"v;\n\n"), "2: a quoted text has no end");
    EXPECT_EQ(damageIn("\"k\" = \"v\\"), "1: an escape stands for no character");
    EXPECT_EQ(damageIn("\n\n/* \"k\" = \"v\";"), "3: a comment has no end");
    EXPECT_EQ(damageIn("\"k\" = \"v\"; /*/"), "1: a comment has no end");
    for (const char* const escape : {"\\q", "\\U12", "\\U12g4", "\\u00f6", "\\1", "\\Ud83d", "\\Ud83dx", "\\Ud83d\\n",
                                     "\\Ude00", "\\Ud83d\\Ud83d"}) {
        EXPECT_EQ(damageIn("\"k\" =\n\""s + escape + "\";"), "2: an escape stands for no character") << escape;
    }
}

// Property lists.

using Strings = std::map<std::string, std::string, std::less<>>;

TEST(PropertyListStringsTest, TakesTheTextsAtTheTopAlone) {
    EXPECT_EQ(
        stringsInPropertyList("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/\">\n"
                              "<!-- <dict> -->\n<plist version=\"1.0\">\n<dict>\n"
                              "\t<key>a</key>\n\t<string>A</string>\n"
                              "<key>b</key><array><string>x</string><array/><dict/><true/></array>\n"
                              "<key>c</key><dict><key>a</key><string>not this</string></dict>\n"
                              "<key>d</key><integer>1</integer><key>e</key><real>1.5</real>\n"
                              "<key>f</key><date>2026-11-20T00:00:00Z</date><key>g</key><data>AAAA</data>\n"
                              "<key>h</key><true/><key>i</key><false></false><key>j</key><string/>\n"
                              "<key/><string>nameless</string></dict>\n</plist>\n<!-- end -->\n"),
        (Strings{{"a", "A"}, {"j", ""}, {"", "nameless"}}));
    EXPECT_EQ(stringsInPropertyList("<plist><dict></dict></plist>"), Strings());
}

TEST(PropertyListStringsTest, ReferencesAndVerbatimPartsAreDecoded) {
    EXPECT_EQ(stringsInPropertyList("<plist><dict><key>a&amp;b</key><string>&lt;&gt;&quot;&apos;&#246;&#x20AC;"
                                    "<![CDATA[<b>&amp;]]><!-- no -->!</string></dict></plist>"),
              (Strings{{"a&b", "<>\"'\u00F6\u20AC<b>&amp;!"}}));
}

TEST(PropertyListStringsTest, WhatIsNoWholeListGivesNothing) {
    const std::string good = "<plist><dict><key>k</key><string>v</string></dict></plist>";
    ASSERT_NE(stringsInPropertyList(good), std::nullopt);
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_EQ(stringsInPropertyList(good.substr(0, length)), std::nullopt) << length;
    }
    for (const char* const bad : {
             "bplist00",
             "{ k = v; }",
             "<?xml version=\"1.0\"><plist><dict/></plist>",
             "<!-- <plist><dict></dict></plist>",
             "<!DOCTYPE plist <plist",
             "<plist/><dict></dict></plist>",
             "</plist><dict></dict></plist>",
             "<plist><dict/></plist>",
             "<plist <dict></dict></plist>",
             "<plist><dict></dict></plist><!-- ",
             "<plist><dict></dict><!-- </plist>",
             "<plist><dict></dict><plist>",
             "<plist><dict><key>k</key><string>&#65x;</string></dict></plist>",
             "<plist><dict><key>k</key><string>v<!-- </string></dict></plist>",
             "<plist><string>v</string></plist>",
             "<dict><key>k</key><string>v</string></dict>",
             "<plist><dict><key>k</key></dict></plist>",
             "<plist><dict><string>v</string></dict></plist>",
             "<plist><dict><key>k</key><key>v</key></dict></plist>",
             "<plist><dict><key>k</key><string>v</key></dict></plist>",
             "<plist><dict><key>k</key><string>v</string></plist></dict>",
             "<plist><dict><key>k</key><string>v</string></dict></plist>x",
             "<plist><dict><key>k</key>x<string>v</string></dict></plist>",
             "<plist><dict><key>k</key><string>v<b/></string></dict></plist>",
             "<plist><dict><key>k</key><string>&nbsp;</string></dict></plist>",
             "<plist><dict><key>k</key><string>&#0;</string></dict></plist>",
             "<plist><dict><key>k</key><string>&#xD800;</string></dict></plist>",
             "<plist><dict><key>k</key><string>&#x110000;</string></dict></plist>",
             "<plist><dict><key>k</key><string>&#x;</string></dict></plist>",
             "<plist><dict><key>k</key><string>& v</string></dict></plist>",
             "<plist><dict><key>k</key><string><![CDATA[v</string></dict></plist>",
             "<plist><dict><key>k</key><other>v</other></dict></plist>",
             "<plist><dict><key>k</key><array><key>v</key></array></dict></plist>",
             "<plist><dict><key>k</key><array></dict></array></dict></plist>",
             "<plist><dict><key>k</key><array></dict></dict></plist>",
             "<plist><dict><key>k</key></dict></dict></dict></plist>",
             "<plist><dict><string>k</string><string>v</string></dict></plist>",
             "<plist><dict><key>k</key><true></false></dict></plist>",
             "<!DOCTYPE plist [<!ENTITY k \"v\">]><plist><dict/></plist>",
         }) {
        EXPECT_EQ(stringsInPropertyList(bad), std::nullopt) << bad;
    }
}

TEST(PropertyListStringsTest, NestingHasAnEnd) {
    const auto nested = [](int depth) {
        std::string text = "<plist><dict><key>k</key>";
        for (int level = 0; level < depth; ++level) {
            text += "<array>";
        }
        for (int level = 0; level < depth; ++level) {
            text += "</array>";
        }
        return text + "</dict></plist>";
    };
    EXPECT_NE(stringsInPropertyList(nested(50)), std::nullopt);
    EXPECT_EQ(stringsInPropertyList(nested(1000000)), std::nullopt);
}

// The system's version from its file.

std::string versionFile(std::string_view version) {
    return "<plist version=\"1.0\"><dict><key>ProductName</key><string>Mac OS X</string>"
           "<key>ProductVersion</key><string>" +
           std::string(version) + "</string></dict></plist>";
}

class GestaltTest : public ::testing::Test {
  protected:
    ~GestaltTest() override { gestalt_.discard(); }

    void write(std::string_view version) { folder_.makeFile("SystemVersion.plist", versionFile(version)); }

    std::int16_t ask(std::uint32_t selector) {
        answer_ = -77;
        return gestalt_.ask(selector, &answer_);
    }

    Folder folder_;
    std::string path_ = folder_.at("SystemVersion.plist");
    PosixGestalt gestalt_{path_.c_str()};
    std::int32_t answer_ = 0;
};

TEST_F(GestaltTest, AnswersTheVersionAndItsThreeNumbers) {
    write("10.6.8");
    EXPECT_EQ(ask(gestaltSystemVersion), 0);
    EXPECT_EQ(answer_, 0x1068);
    EXPECT_EQ(ask(gestaltSystemVersionMajor), 0);
    EXPECT_EQ(answer_, 10);
    EXPECT_EQ(ask(gestaltSystemVersionMinor), 0);
    EXPECT_EQ(answer_, 6);
    EXPECT_EQ(ask(gestaltSystemVersionBugFix), 0);
    EXPECT_EQ(answer_, 8);
    EXPECT_EQ(SystemVersionString(gestalt_), "10.6.8");
    EXPECT_TRUE(SystemIsSnowLeopardOrLater(gestalt_));
}

TEST_F(GestaltTest, WhatFourBitsCannotHoldIsANine) {
    write("10.13.16");
    EXPECT_EQ(ask(gestaltSystemVersion), 0);
    EXPECT_EQ(answer_, 0x1099);
    EXPECT_EQ(SystemVersionString(gestalt_), "10.13.16");
}

TEST_F(GestaltTest, BeforeVersion104TheOneAnswerIsEnough) {
    write("10.3.9");
    EXPECT_EQ(ask(gestaltSystemVersion), 0);
    EXPECT_EQ(answer_, 0x1039);
    EXPECT_EQ(SystemVersionString(gestalt_), "10.3.9");
    EXPECT_FALSE(SystemIsSnowLeopardOrLater(gestalt_));
}

TEST_F(GestaltTest, AMissingBugFixNumberIsZero) {
    write("11.2");
    EXPECT_EQ(SystemVersionString(gestalt_), "11.2.0");
    EXPECT_EQ(ask(gestaltSystemVersion), 0);
    EXPECT_EQ(answer_, 0x1120);
}

TEST_F(GestaltTest, OtherQuestionsHaveNoAnswer) {
    write("10.6.8");
    EXPECT_EQ(ask(fourCharacterCode("proc")), gestaltUndefSelectorErr);
    EXPECT_EQ(answer_, -77);
}

TEST_F(GestaltTest, WithoutTheFileTheVersionIsNotKnown) {
    for (const std::uint32_t selector :
         {gestaltSystemVersion, gestaltSystemVersionMajor, gestaltSystemVersionMinor, gestaltSystemVersionBugFix}) {
        EXPECT_EQ(ask(selector), gestaltUnknownErr);
        EXPECT_EQ(answer_, -77);
    }
    const RecordingLog log;
    EXPECT_EQ(SystemVersionString(gestalt_), "10.0.0");
    EXPECT_EQ(log.messages, (std::vector<std::string>{"Unable to obtain system version: -5550"}));
}

TEST_F(GestaltTest, ADamagedFileIsLikeNone) {
    folder_.makeFile("SystemVersion.plist", versionFile("10.6.8") + "<");
    EXPECT_EQ(ask(gestaltSystemVersion), gestaltUnknownErr);
    for (const char* const version : {"", "10", "10.", "10.6.", "10.6.8.1", "10.x", "-10.6", "10.-6", " 10.6", "10.6 ",
                                      "10..6", "99999999999.1", "10.10000", "10.6.8b"}) {
        EXPECT_FALSE(systemVersionFromPropertyList(versionFile(version)).has_value()) << version;
    }
    EXPECT_FALSE(systemVersionFromPropertyList("<plist><dict></dict></plist>").has_value());
}

TEST_F(GestaltTest, TheFileIsReadOnce) {
    write("10.6.8");
    EXPECT_EQ(SystemVersionString(gestalt_), "10.6.8");
    write("10.7.5");
    EXPECT_EQ(SystemVersionString(gestalt_), "10.6.8");
}

TEST(PlatformGestaltTest, AnswersOrSaysThatItCannot) {
    const bool hasFile = exists("/System/Library/CoreServices/SystemVersion.plist");
    std::int32_t answer = -77;
    const std::int16_t error = Gestalt::platform().ask(gestaltSystemVersion, &answer);
    EXPECT_EQ(error, hasFile ? 0 : gestaltUnknownErr);
    EXPECT_EQ(answer == -77, !hasFile);
}

} // namespace
} // namespace orvane::test
