#include "Platform/Bundle.h"
#include "Platform/FileManager.h"
#include "Platform/Locale.h"
#include "Tests/Cocoa/CocoaTestSupport.h"

#include <ctime>
#include <gtest/gtest.h>
#include <unistd.h>

namespace orvane::test {

namespace {

/// GNUstep reads UTF-8 without one, too, but not without a word.
const std::string kByteOrderMark = "\xEF\xBB\xBF";

std::string today() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char text[16] = {};
    std::strftime(text, sizeof text, "%Y-%m-%d", localtime_r(&now, &parts));
    return text;
}

/// An application with a template and German texts.
class CocoaBundleTest : public ::testing::Test {
  protected:
    void SetUp() override {
        application = folder.makeApplication("Host", "CFBundleIdentifier = \"com.example.host\";");
        folder.write("Host.app/Resources/LargeFilesTemplate.savedSearch", "template");
        folder.write("Host.app/Resources/German.lproj/Localizable.strings",
                     kByteOrderMark + "\"Restart\" = \"Neustart f\xC3\xBCr 100%\";\n");
    }

    [[nodiscard]] Ended ask(const std::string& key, const Words& languages, const Variables& variables = {}) const {
        Words words = {"bundle", key};
        words.insert(words.end(), languages.begin(), languages.end());
        return runProgram(application + "/Host", words, variables);
    }

    [[nodiscard]] std::string answer(const std::string& text) const {
        return "com.example.host\n" + application + "/Resources/LargeFilesTemplate.savedSearch\n" + text + "\n";
    }

    TemporaryFolder folder;
    std::string application;
    const Words german = {"-NSLanguages", "(German)"};
};

/// A program that is installed below a prefix, with a table in each of some languages: what it says for the key.
std::string installedSays(const std::string& program, const std::string& table, const std::string& key,
                          const Words& tables, const Variables& variables) {
    const TemporaryFolder prefix;
    for (const std::string& language : tables) {
        prefix.write(table + "/" + language + ".lproj/Localizable.strings",
                     kByteOrderMark + "\"Restart\" = \"Restart in " + language + "\";");
    }
    return runProgram(prefix.copyProbe(program), {"bundle", key}, variables).output;
}

} // namespace

TEST_F(CocoaBundleTest, FindsTextsInTheUsersLanguage) {
    EXPECT_EQ(ask("Restart", german).output, answer("Neustart f\xC3\xBCr 100%"));
}

TEST_F(CocoaBundleTest, ATextWithoutTranslationIsItsKey) {
    EXPECT_EQ(ask("Shut Down", german).output, answer("Shut Down"));
    EXPECT_EQ(ask("Restart", {}).output, answer("Restart"));
    EXPECT_EQ(ask("", german).output, answer(""));
}

TEST_F(CocoaBundleTest, ALanguagesOwnResourceIsFound) {
    const std::string own = folder.write("Host.app/Resources/German.lproj/LargeFilesTemplate.savedSearch", "Vorlage");
    ASSERT_EQ(::unlink((application + "/Resources/LargeFilesTemplate.savedSearch").c_str()), 0);

    EXPECT_EQ(ask("Restart", german).output, "com.example.host\n" + own + "\nNeustart f\xC3\xBCr 100%\n");
}

TEST_F(CocoaBundleTest, AByteCountIsATextInTheUsersLanguageWithTheUsersSeparator) {
    folder.write("Host.app/Resources/German.lproj/Localizable.strings",
                 kByteOrderMark + "\"%i bytes\" = \"%i Byte\"; \"%1.1f MB\" = \"%1.1f MByte\";");
    const std::string host = application + "/Host";
    const Variables inGermany = {{"LANG", "de_DE.UTF-8"}};

    EXPECT_EQ(runProgram(host, {"format-bytes", "1500000", "-NSLanguages", "(German)"}, inGermany).output, "1,5 MByte");
    EXPECT_EQ(runProgram(host, {"format-bytes", "999", "-NSLanguages", "(German)"}, inGermany).output, "999 Byte");
    EXPECT_EQ(runProgram(host, {"format-bytes", "1000", "-NSLanguages", "(German)"}, inGermany).output, "1,0 KB");
    EXPECT_EQ(runProgram(host, {"format-bytes", "1500000"}).output, "1.5 MB");
}

TEST(CocoaMainBundleTest, AProgramWithoutABundleHasNeitherIdentifierNorResources) {
    Bundle& bundle = Bundle::platform();

    EXPECT_EQ(bundle.bundleIdentifier(), std::nullopt);
    EXPECT_EQ(bundle.pathForResource("LargeFilesTemplate", "savedSearch"), std::nullopt);
    EXPECT_EQ(bundle.pathForResource("\xFF", "\xFE"), std::nullopt);
    EXPECT_EQ(bundle.localizedString("%1.1f MB"), "%1.1f MB");
}

TEST_F(CocoaBundleTest, TheLanguageIsTheLocalesEvenWhereThatIsNotInstalled) {
    const std::string text = answer("Neustart f\xC3\xBCr 100%");

    EXPECT_EQ(ask("Restart", {}, {{"LC_ALL", "de_DE.UTF-8"}}).output, text);
    EXPECT_EQ(ask("Restart", {}, {{"LANG", "de_AT"}}).output, text);
    EXPECT_EQ(ask("Restart", {}, {{"LANG", "en_US.UTF-8"}, {"LANGUAGE", "fr:de"}}).output, text);
    EXPECT_EQ(ask("Restart", {}, {{"LC_ALL", "C"}, {"LANGUAGE", "de"}}).output, answer("Restart"));
    EXPECT_EQ(ask("Restart", {"-NSLanguages", "(English)"}, {{"LC_ALL", "de_DE.UTF-8"}}).output, answer("Restart"));
}

TEST(CocoaInstalledProgramTest, FindsItsTextsBelowItsPrefix) {
    const Variables inGermany = {{"LC_ALL", "de_DE.UTF-8"}};
    const std::string none = "none\nnone\n";

    EXPECT_EQ(installedSays("bin/probe", "share/orvane", "Restart", {"de", "en"}, inGermany), none + "Restart in de\n");
    EXPECT_EQ(installedSays("bin/probe", "share/orvane", "Restart", {"de", "en"}, {{"LC_ALL", "fr_FR.UTF-8"}}),
              none + "Restart in en\n");
    EXPECT_EQ(installedSays("bin/probe", "share/orvane", "Cancel", {"de"}, inGermany), none + "Cancel\n");
    EXPECT_EQ(installedSays("bin/probe", "share/orvane", "Restart", {}, inGermany), none + "Restart\n");
    EXPECT_EQ(installedSays("bin/probe", "share/other", "Restart", {"de"}, inGermany), none + "Restart\n");
    EXPECT_EQ(installedSays("libexec/probe", "share/orvane", "Restart", {"de"}, inGermany), none + "Restart\n");
}

TEST(CocoaInstalledProgramTest, FindsItsResourcesBelowItsPrefix) {
    const TemporaryFolder prefix;
    const std::string program = prefix.copyProbe("bin/probe");
    const std::string resource = prefix.write("share/orvane/LargeFilesTemplate.savedSearch", "template");

    EXPECT_EQ(runProgram(program, {"bundle", ""}).output, "none\n" + resource + "\n\n");
}

TEST(CocoaLocaleTest, TheDecimalSeparatorIsTheUsers) {
    const std::string before = today();
    const Ended german = runProbe({"locale"}, {{"LANG", "de_DE.UTF-8"}});
    const Ended english = runProbe({"locale"}, {{"LANG", "en_US.UTF-8"}});
    const std::string after = today();

    EXPECT_TRUE(german.output == ",\n" + before + "\n0\n" || german.output == ",\n" + after + "\n0\n") << german.output;
    EXPECT_EQ(english.output.substr(0, 2), ".\n");
}

TEST(CocoaLocaleTest, TheDigitsAreTheUsers) {
    const auto zero = [](const std::string& language) {
        const std::string output = runProbe({"locale"}, {{"LANG", language}}).output;
        return output.substr(output.find_last_of('\n', output.size() - 2) + 1);
    };
    EXPECT_EQ(zero("ar_EG.UTF-8"), "\u0660\n");
    EXPECT_EQ(zero("fa_IR.UTF-8"), "\u06F0\n");
    EXPECT_EQ(zero("de_DE.UTF-8"), "0\n");
    EXPECT_EQ(zero("C.UTF-8"), "0\n");
    EXPECT_EQ(runProbe({"format-bytes", "23400000"}, {{"LANG", "ar_EG.UTF-8"}}).output, "\u0662\u0663\u066B\u0664 MB");
}

TEST(CocoaLocaleTest, TheDateIsTodays) {
    const std::string before = today();
    const std::string date = Locale::platform().dateString();

    EXPECT_TRUE(date == before || date == today()) << date;
}

TEST(CocoaFileManagerTest, TheNameShownIsTheLastComponentWhereNothingShowsAnother) {
    const TemporaryFolder folder;

    EXPECT_EQ(FileManager::platform().displayNameAtPath(folder.write("gr\xC3\xBCn.txt", "")), "gr\xC3\xBCn.txt");
    EXPECT_EQ(FileManager::platform().displayNameAtPath("/not/there"), "there");
}

TEST(CocoaFileManagerTest, HidesTheExtensionOfAFileThatIsThere) {
    const TemporaryFolder folder;
    const std::string path = folder.write("Some.savedSearch", "kept");

    EXPECT_EQ(FileManager::platform().hideExtensionOfItemAtPath(path), std::nullopt);
    EXPECT_EQ(folder.contents("Some.savedSearch"), "kept");
}

TEST(CocoaFileManagerTest, SaysWhyAnExtensionCouldNotBeHidden) {
    const auto error = FileManager::platform().hideExtensionOfItemAtPath("/not/there.savedSearch");

    ASSERT_TRUE(error.has_value());
    EXPECT_NE(error->find("2"), std::string::npos) << *error;
    EXPECT_TRUE(FileManager::platform().hideExtensionOfItemAtPath("/not/\xFF\xFE").has_value());
}

} // namespace orvane::test
