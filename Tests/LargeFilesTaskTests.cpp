#include "Tests/RecordedRunner.h"

#include <cstdint>
#include <limits>

namespace orvane {
namespace {

using test::Events;
using Chunks = std::vector<std::optional<std::string>>;

constexpr const char* kResource = "LargeFilesTemplate.savedSearch";
constexpr const char* kSample = "b=__SIZE_IN_BYTES__ m=__SIZE_IN_MEGABYTES__ p=__PATH__";
constexpr const char* kPath = "/Users/ann/Documents";

/// The world's folder is the temporary one; the template lies elsewhere.
class LargeFiles : public test::RecordedRunner {
  protected:
    LargeFiles() {
        owner.size = 5;
        useTemplate(kSample);
    }

    void useTemplate(std::string_view contents) { bundle.resources[kResource] = resources.makeFile("some", contents); }
    [[nodiscard]] std::string fileNamed(const std::string& name) const { return folder.at(name + ".savedSearch"); }
    /// What is written for the folder.
    std::string written(const std::string& path = kPath) {
        EXPECT_EQ(runner.findLargeFilesInPath(path), 0);
        EXPECT_EQ(owner.chunks, Chunks());
        return test::contentsOf(fileNamed("Files Larger than " + std::to_string(owner.size) + " MB in Documents"));
    }
    /// That the operation ends with 1 and nothing but this text.
    void expectFailure(const std::string& text) {
        EXPECT_EQ(runner.findLargeFilesInPath(kPath), 1);
        EXPECT_EQ(owner.chunks, Chunks{text});
        EXPECT_EQ(log.messages, Events());
    }

    test::Folder resources;
    const std::string searchFile = fileNamed("Files Larger than 5 MB in Documents");
};

using LargeFilesErrors = LargeFiles;
using LargeFilesTemplate = LargeFiles;

TEST_F(LargeFiles, FillsTheTemplateHidesTheExtensionAndOpensTheFileWithTheFinder) {
    EXPECT_EQ(written(), "b=5000000 m=5 p=/Users/ann/Documents");
    EXPECT_EQ(events, (Events{"display name of /Users/ann/Documents", "hide extension of " + searchFile,
                              "open " + searchFile + " with Finder"}));
    EXPECT_EQ(commands.runs.size(), 0U);
    EXPECT_EQ(owner.cancelQuestions, 0);
    EXPECT_EQ(log.messages, Events());
}

/// An owner and a bundle that note what they were asked.
class NotingOwner final : public OVTaskDelegate {
  public:
    explicit NotingOwner(Events& events) : events_(events) {}
    void taskWillBegin(OVTask* /*task*/) override {}
    void task(OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}
    void hasOutputAvailable(std::optional<std::string_view> output) override { events_.emplace_back(*output); }
    bool shouldCancel() override { return true; }
    std::optional<std::string> archiveDesktopPath() override { return std::nullopt; }
    std::uint64_t largeFilesSize() override {
        events_.emplace_back("size");
        return 1;
    }
    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool /*only*/, bool /*multiple*/) override {
        return std::nullopt;
    }

  private:
    Events& events_;
};

class NotingBundle final : public Bundle {
  public:
    explicit NotingBundle(Events& events) : events_(events) {}
    std::optional<std::string> bundleIdentifier() override { return std::nullopt; }
    std::optional<std::string> pathForResource(std::string_view name, std::string_view ofType) override {
        events_.push_back(std::string(name) + " of " + std::string(ofType));
        return std::nullopt;
    }
    std::string localizedString(std::string_view key) override { return std::string(key); }

  private:
    Events& events_;
};

TEST_F(LargeFiles, AsksForTheNameThenTheSizeThenTheTemplate) {
    NotingOwner noting(events);
    NotingBundle notingBundle(events);
    OVTaskRunnerServices services = this->services();
    services.bundle = &notingBundle;
    OVTaskRunner other(services);
    other.setDelegate(test::unowned<OVTaskDelegate>(noting));
    EXPECT_EQ(other.findLargeFilesInPath(kPath), 1) << "never 2, even for an owner who wants to cancel";
    EXPECT_EQ(events, (Events{"display name of /Users/ann/Documents", "size", "LargeFilesTemplate of savedSearch",
                              "ERROR reading template file (null): No such file or directory"}));
}

TEST_F(LargeFiles, ALimitOfZeroIsADigit) {
    owner.size = 0;
    EXPECT_EQ(written(), "b=0 m=0 p=/Users/ann/Documents");
}

TEST_F(LargeFiles, BytesWrapIn64Bits) {
    owner.size = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(written("/"), "b=18446744073708551616 m=18446744073709551615 p=/");
    owner.size = 18446744073709ULL;
    EXPECT_EQ(written("/"), "b=18446744073709000000 m=18446744073709 p=/") << "the last that fits";
}

TEST_F(LargeFiles, ReplacesEachPlaceholderWhereverItOccurs) {
    useTemplate("__PATH____PATH__ __SIZE_IN_BYTES____SIZE_IN_MEGABYTES__\n__SIZE_IN_BYTES__ __SIZE__ __path__\n");
    EXPECT_EQ(written("/a"), "/a/a 50000005\n5000000 __SIZE__ __path__\n");
}

TEST_F(LargeFiles, ReplacesTheBytesThenTheMegabytesThenThePath) {
    useTemplate("__SIZE_IN_BYTES__SIZE_IN_MEGABYTES__ __SIZE_IN_MEGABYTES__SIZE_IN_BYTES__ "
                "__SIZE_IN_MEGABYTES__PATH__ __PATH__SIZE_IN_MEGABYTES__ __SIZE_IN_BYTES__PATH__");
    EXPECT_EQ(written("/a"), "5000000SIZE_IN_MEGABYTES__ __SIZE_IN_MEGABYTES5000000 "
                             "5PATH__ __PATH5 5000000PATH__")
        << "those that share their underscores go to the first";
}

TEST_F(LargeFiles, APlaceholderInThePathStays) {
    const std::string path = "/a/__SIZE_IN_BYTES__/__SIZE_IN_MEGABYTES__/__PATH__";
    EXPECT_EQ(written(path), "b=5000000 m=5 p=" + path);
}

TEST_F(LargeFiles, ThePathGoesInAsItIs) {
    EXPECT_EQ(written("/Users/ann/R&D <old> \"x\" %@ 'y'//z/"),
              "b=5000000 m=5 p=/Users/ann/R&D <old> \"x\" %@ 'y'//z/");
}

TEST_F(LargeFiles, ATemplateOfAnotherEncodingIsWrittenAsUTF8) {
    using namespace std::string_view_literals;
    useTemplate("\xFE\xFF\0_\0_\0P\0A\0T\0H\0_\0_ \xAC"sv);
    EXPECT_EQ(written("/ü"), "/ü€");
}

TEST_F(LargeFiles, TheFileIsNamedByTheDisplayName) {
    fileManager.displayName = "Dokumente von Ann ü 100%";
    EXPECT_EQ(runner.findLargeFilesInPath(kPath), 0);
    EXPECT_EQ(test::namesIn(folder.path), Events{"Files Larger than 5 MB in Dokumente von Ann ü 100%.savedSearch"});
}

TEST_F(LargeFiles, TheRootHasADisplayNameWithoutASlash) {
    OVTaskRunnerServices with = services();
    with.fileManager = nullptr; // the platform's
    OVTaskRunner own(with);
    own.setDelegate(test::unowned<OVTaskDelegate>(owner));
    for (const char* const path : {"/", "//"}) {
        EXPECT_EQ(FileManager::platform().displayNameAtPath(path), "Root");
    }
    EXPECT_EQ(FileManager::platform().displayNameAtPath("/Root/some folder/"), "some folder");
    EXPECT_EQ(own.findLargeFilesInPath("/"), 0);
    EXPECT_EQ(test::contentsOf(fileNamed("Files Larger than 5 MB in Root")), "b=5000000 m=5 p=/");
}

TEST_F(LargeFiles, ALaterRunOverwritesTheFile) {
    EXPECT_EQ(written("/first/and/longer"), "b=5000000 m=5 p=/first/and/longer");
    EXPECT_EQ(written("/second"), "b=5000000 m=5 p=/second");
    owner.size = 6;
    EXPECT_EQ(written("/third"), "b=6000000 m=6 p=/third");
    EXPECT_EQ(test::namesIn(folder.path).size(), 2U);
}

TEST_F(LargeFiles, TheFileIsTheUsersAlone) {
    static_cast<void>(written());
    EXPECT_EQ(test::permissionsOf(searchFile), 0600U);
}

TEST_F(LargeFiles, ALinkInThePlaceOfTheFileIsReplacedAndNotFollowed) {
    const std::string victim = resources.makeFile("victim", "kept");
    ASSERT_EQ(::symlink(victim.c_str(), searchFile.c_str()), 0);
    EXPECT_EQ(written(), "b=5000000 m=5 p=/Users/ann/Documents");
    EXPECT_EQ(test::contentsOf(victim), "kept");
}

TEST_F(LargeFiles, WithoutAnOwnerTheLimitIsZero) {
    runner.setDelegate(nullptr);
    EXPECT_EQ(runner.findLargeFilesInPath(kPath), 0);
    EXPECT_EQ(test::contentsOf(fileNamed("Files Larger than 0 MB in Documents")), "b=0 m=0 p=/Users/ann/Documents");
    workspace.opens = false;
    EXPECT_EQ(runner.findLargeFilesInPath(kPath), 1);
    bundle.resources.clear();
    EXPECT_EQ(runner.findLargeFilesInPath(kPath), 1);
    EXPECT_EQ(log.messages, Events());
}

// Each failure is one text and a 1.

TEST_F(LargeFilesErrors, NoTemplateInTheBundle) {
    bundle.resources.clear();
    expectFailure("ERROR reading template file (null): No such file or directory");
    EXPECT_EQ(test::namesIn(folder.path), Events());
    EXPECT_EQ(events, (Events{"display name of /Users/ann/Documents"}));
}

TEST_F(LargeFilesErrors, TheTemplateIsNotThere) {
    bundle.resources[kResource] = resources.at("none");
    expectFailure("ERROR reading template file " + resources.at("none") + ": No such file or directory");
}

TEST_F(LargeFilesErrors, TheTemplateIsNoText) {
    useTemplate("__PATH__ caf\xE9");
    expectFailure("ERROR reading template file " + resources.at("some") +
                  ": The text is in none of the encodings UTF-8, UTF-16 and UTF-32");
    EXPECT_EQ(test::namesIn(folder.path), Events());
}

TEST_F(LargeFilesErrors, TheFileCannotBeWritten) {
    folder.makeFile("Files Larger than 5 MB in Documents.savedSearch", "old");
    calls.fail("write", ENOSPC);
    expectFailure("ERROR writing saved search file " + searchFile + ": No space left on device");
    EXPECT_EQ(test::contentsOf(searchFile), "old");
    EXPECT_EQ(test::namesIn(folder.path).size(), 1U) << "no part of a file is left";
    EXPECT_EQ(events, (Events{"display name of /Users/ann/Documents"}));
}

TEST_F(LargeFilesErrors, ADisplayNameWithASlashCannotBeWritten) {
    fileManager.displayName = "Notes 1/2";
    expectFailure("ERROR writing saved search file " + fileNamed("Files Larger than 5 MB in Notes 1/2") +
                  ": No such file or directory");
    EXPECT_EQ(test::namesIn(folder.path), Events());
}

TEST_F(LargeFilesErrors, TheExtensionCannotBeHidden) {
    fileManager.hidingError = "Operation not supported";
    expectFailure("ERROR hiding extension of saved search file " + searchFile + ": Operation not supported");
    EXPECT_EQ(events, (Events{"display name of /Users/ann/Documents", "hide extension of " + searchFile}));
}

TEST_F(LargeFilesErrors, TheFinderRefusesTheFile) {
    workspace.opens = false;
    expectFailure("ERROR opening saved search " + searchFile);
    EXPECT_TRUE(test::exists(searchFile));
}

TEST_F(LargeFilesErrors, WithoutADesktopTheFileIsWrittenButNotOpened) {
    OVTaskRunnerServices services = headlessServices();
    services.bundle = &bundle;
    OVTaskRunner headless(services);
    headless.setDelegate(test::unowned<OVTaskDelegate>(owner));
    EXPECT_EQ(headless.findLargeFilesInPath(kPath), 1);
    EXPECT_EQ(owner.chunks, Chunks{"ERROR opening saved search " + searchFile});
    EXPECT_EQ(test::contentsOf(searchFile), "b=5000000 m=5 p=/Users/ann/Documents");
}

// The template that the library brings along.

TEST_F(LargeFilesTemplate, IsAPropertyListWhoseQueryAndScopeAreFilled) {
    bundle.resources[kResource] = std::string(ORVANE_RESOURCES) + "/" + kResource;
    owner.size = 250;
    static_cast<void>(written("/Users/ann/My Documents"));
    // There and back by another program, which refuses what is no property list.
    const std::string file = fileNamed("Files Larger than 250 MB in Documents");
    const std::string binary = resources.at("binary");
    const std::string list = resources.at("list");
    const std::string convert = "if command -v plistutil >/dev/null; then plistutil -i '" + file + "' -o '" + binary +
                                "' && plistutil -i '" + binary + "' -o '" + list +
                                "'; else plutil -convert binary1 -o '" + binary + "' '" + file +
                                "' && plutil -convert xml1 -o '" + list + "' '" + binary + "'; fi";
    ASSERT_EQ(std::system(convert.c_str()), 0);
    EXPECT_EQ(test::contentsOf(binary).substr(0, 6), "bplist");
    std::string text = test::contentsOf(list);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == '\n' || c == '\t'; }), text.end());
    const auto count = [&text](const std::string& part) {
        int found = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            ++found;
        }
        return found;
    };
    EXPECT_EQ(count("<key>CompatibleVersion</key><integer>1</integer>"), 1);
    EXPECT_EQ(count("<key>RawQuery</key><string>(kMDItemFSSize &gt; 250000000)</string>"), 2) << text;
    EXPECT_EQ(count("<key>SearchScopes</key><array><string>/Users/ann/My Documents</string></array>"), 1) << text;
    EXPECT_EQ(count("<key>CurrentFolderPath</key><array><string>/Users/ann/My Documents</string></array>"), 1);
    EXPECT_EQ(count("<key>FXScopeArrayOfPaths</key><array><string>/Users/ann/My Documents</string></array>"), 1);
    EXPECT_EQ(count("Files Larger than 250 MB"), 1);
    EXPECT_EQ(count("__"), 0) << "nothing is left to fill";
}

} // namespace
} // namespace orvane
