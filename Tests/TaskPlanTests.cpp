// Plans of real trees. That a run then removes what is planned is tested on the stage.

#include "Tasks/OVTaskPlan.h"

#include "Tests/Fakes/FakeHome.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane {
namespace {

using Strings = std::vector<std::string>;
using Fate = OVPlanItem::Fate;
using Kind = OVPlanItem::Kind;

/// Plans for a user whose home folder is the test's.
class TaskPlanTest : public ::testing::Test, public test::RecordingWorld {
  protected:
    TaskPlanTest() { calls.userID = test::FakeHome::kUser; }

    OVTaskPlan planOf(const std::string& name, const Strings& arguments = {}) {
        return OVTaskPlan::make(*OVTaskNamed(name), arguments, options, services());
    }

    /// Each item's fate and what is behind the folder in its path.
    Strings items(const OVTaskPlan& plan) const {
        Strings texts;
        for (const OVPlanItem& item : plan.items) {
            const char* const fates[] = {"removed", "moved", "kept", "taken apart", "found"};
            std::string path = item.path;
            if (path.starts_with(folder.path + "/")) {
                path.erase(0, folder.path.size() + 1);
            }
            texts.push_back(std::string(fates[static_cast<int>(item.fate)]) + " " + path);
        }
        return texts;
    }

    std::string home = folder.makeFolder("home");
    test::FakeHome fakeHome{home};
    OVTaskPlan::Options options;
};

TEST_F(TaskPlanTest, TellsEachChosenPathWithKindSizeAndTime) {
    const std::string file = folder.makeFile("file", std::string(10000, 'x'));
    const std::string tree = folder.makeFolder("tree/inner");
    const std::string link = folder.at("link");
    ASSERT_EQ(::symlink(file.c_str(), link.c_str()), 0);
    const OVTaskPlan plan = planOf("forceDeleteFiles", {file, folder.at("tree"), link});
    EXPECT_EQ(items(plan), (Strings{"removed file", "removed tree", "removed link"}));
    ASSERT_EQ(plan.items.size(), 3U);
    struct stat status = {};
    ASSERT_EQ(::lstat(file.c_str(), &status), 0);
    EXPECT_EQ(plan.items[0].bytes, static_cast<std::uint64_t>(status.st_blocks) * 512);
    EXPECT_EQ(plan.items[0].modified, status.st_mtime);
    EXPECT_EQ(plan.items[0].kind, Kind::file);
    EXPECT_EQ(plan.items[1].kind, Kind::folder);
    EXPECT_EQ(plan.items[1].entries, 2U);
    EXPECT_EQ(plan.items[2].kind, Kind::link);
    EXPECT_EQ(plan.itemCount, 3U);
    EXPECT_EQ(plan.entries, 4U);
    EXPECT_EQ(plan.bytes, plan.items[0].bytes + plan.items[1].bytes + plan.items[2].bytes);
    EXPECT_EQ(plan.commands, (Strings{"cat files-to-remove.txt | xargs -I __FILE__ rm -rfv '__FILE__'"}));
    EXPECT_EQ(plan.error, 0);
    EXPECT_TRUE(plan.isComplete);
    EXPECT_FALSE(plan.isFolded);
}

TEST_F(TaskPlanTest, WhatIsNamedTwiceOrLiesInAnotherIsToldOnce) {

    folder.makeFile("outer");
    folder.makeFolder("tree/inner");
    folder.makeFile("tree b");
    ASSERT_EQ(::symlink(folder.at("tree").c_str(), folder.at("way").c_str()), 0);
    const OVTaskPlan plan = planOf("forceDeleteFiles", {folder.at("tree/inner"), folder.at("tree"), folder.at("tree b"),
                                                        folder.at("tree"), folder.at("way/inner"), folder.at("outer")});
    EXPECT_EQ(items(plan), (Strings{"removed tree", "removed tree b", "removed outer"}));
    EXPECT_EQ(plan.entries, 4U);
}

TEST_F(TaskPlanTest, ANameThatIsTakenApartIsNotRemovedAndItsPiecesAre) {
    const std::string odd = folder.makeFile("odd\nrest");
    const std::string piece = folder.makeFile("odd");
    const OVTaskPlan plan = planOf("forceDeleteFiles", {odd, folder.at("none\nx")});
    EXPECT_EQ(items(plan), (Strings{"taken apart odd\nrest", "taken apart none\nx", "found odd"}));
    EXPECT_EQ(plan.items[0].becomes, piece + "\nrest");
    EXPECT_EQ(plan.takenApart, 2U);
    EXPECT_EQ(plan.itemCount, 1U);
    EXPECT_EQ(plan.entries, 1U);
}

/// A trash whose folder's name ends with a newline makes an absolute path of the rest.
TEST_F(TaskPlanTest, ARestMayBeAnAbsolutePath) {
    const std::string victim = folder.makeFolder("victim");
    folder.makeFile("victim/inside");
    const std::string odd = folder.makeFolder("new\n" + victim);
    const OVTaskPlan plan = planOf("forceDeleteFiles", {odd});
    EXPECT_EQ(items(plan), (Strings{"taken apart new\n" + victim, "found victim"}));
    EXPECT_EQ(plan.entries, 2U);
}

TEST_F(TaskPlanTest, AfterAQuoteWithoutAnotherAllIsKept) {
    folder.makeFile("a");
    folder.makeFile("it's");
    folder.makeFile("z");
    const OVTaskPlan plan = planOf("forceDeleteFiles", {folder.at("a"), folder.at("it's"), folder.at("z")});
    EXPECT_EQ(items(plan), (Strings{"removed a", "taken apart it's", "kept z"}));
}

TEST_F(TaskPlanTest, WhatRmWouldReadAsOptionsIsKeptAndSrmIsToldThatItIsNone) {
    const int start = ::open(".", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::chdir(folder.path.c_str()), 0);
    folder.makeFile("-x");
    EXPECT_EQ(items(planOf("forceDeleteFiles", {"-x"})), (Strings{"kept -x"}));
    EXPECT_EQ(items(planOf("secureDeleteFiles", {"-x"})), (Strings{"removed -x"}));
    ASSERT_EQ(::fchdir(start), 0);
    ::close(start);
}

TEST_F(TaskPlanTest, TheUsersCachesWithoutHiddenNames) {
    folder.makeFolder("home/Library/Caches/one/two");
    folder.makeFile("home/Library/Caches/.hidden");
    folder.makeFolder("home/Library/Containers/app/Data/Library/Caches/three");
    const OVTaskPlan plan = planOf("cleanUserCache");
    EXPECT_EQ(items(plan), (Strings{"removed home/Library/Caches/one",
                                    "removed home/Library/Containers/app/Data/Library/Caches/three"}));
    EXPECT_EQ(plan.entries, 3U);
}

TEST_F(TaskPlanTest, OnlyTheChosenBrowsersFiles) {
    folder.makeFolder("home/Library/Caches/com.apple.Safari/a");
    folder.makeFolder("home/Library/Caches/Google/Chrome/Default/Cache/b");
    EXPECT_EQ(items(planOf("cleanBrowserCache", {"com.google.chrome"})),
              (Strings{"removed home/Library/Caches/Google/Chrome/Default/Cache/b"}));
    EXPECT_EQ(planOf("cleanBrowserCache", {"ALL_BROWSERS"}).itemCount, 2U);
    EXPECT_EQ(planOf("cleanBrowserCache", {"com.apple.Safari"}).itemCount, 0U);
}

TEST_F(TaskPlanTest, FindersFilesAtAnyDepthAndRegularOnesAlone) {
    folder.makeFolder("top/.DS_Store");
    folder.makeFile("top/.DS_Store/.DS_Store");
    folder.makeFolder("top/a");
    folder.makeFile("top/a/.DS_Store");
    folder.makeFile("top/a/x.DS_Store");
    ASSERT_EQ(::symlink("x", folder.at("top/link").c_str()), 0);
    Strings found = items(planOf("removeDSStoreFilesInPath", {folder.at("top")}));
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (Strings{"removed top/.DS_Store/.DS_Store", "removed top/a/.DS_Store"}));
}

TEST_F(TaskPlanTest, TheDesktopMovesIntoTheFolderThatWillBeMade) {
    folder.makeFolder("home/Desktop/a/b");
    folder.makeFile("home/Desktop/.hidden");
    folder.makeFile("home/Desktop/new\nline");
    folder.makeFolder("home/Desktop/archive");
    const std::string archive = folder.makeFolder("archive");
    folder.makeFolder("archive/Desktop from 2026-11-20");
    options.archiveDesktopPath = archive;
    OVTaskPlan plan = planOf("cleanDesktop");
    EXPECT_EQ(items(plan),
              (Strings{"moved home/Desktop/a", "moved home/Desktop/archive", "moved home/Desktop/new\nline"}));
    EXPECT_EQ(plan.items[0].becomes, archive + "/Desktop from 2026-11-20 2/a");
    EXPECT_EQ(plan.items[0].entries, 2U);
    EXPECT_EQ(plan.bytes, 0U);
    EXPECT_FALSE(test::exists(archive + "/Desktop from 2026-11-20 2"));
    ASSERT_EQ(plan.commands.size(), 1U);
    EXPECT_TRUE(plan.commands[0].starts_with("/usr/bin/find " + home + "/Desktop '!' -name")) << plan.commands[0];

    options.archiveDesktopPath = home + "/Desktop/archive";
    plan = planOf("cleanDesktop");
    EXPECT_EQ(items(plan),
              (Strings{"moved home/Desktop/a", "kept home/Desktop/archive", "moved home/Desktop/new\nline"}));
    EXPECT_EQ(plan.items[1].reason, EINVAL);
    options.archiveDesktopPath = folder.at("none");
    EXPECT_EQ(planOf("cleanDesktop").error, ENOENT);
    options.archiveDesktopPath.reset();
    EXPECT_EQ(planOf("cleanDesktop").error, ENOENT);
}

TEST_F(TaskPlanTest, WhatAnErasureLeftAtTheTopOfTheVolumeGoes) {
    const std::string path = folder.makeFile("secure-erase.temp", "x");
    const OVTaskPlan plan = planOf("secureEraseFreeSpace", {folder.path});
    EXPECT_EQ(items(plan), (Strings{"removed secure-erase.temp"}));
    ASSERT_EQ(plan.commands.size(), 1U);
    EXPECT_NE(plan.commands[0].find("/bin/dd if=/dev/zero of=\"" + path + "\""), std::string::npos);
    EXPECT_EQ(planOf("secureEraseFreeSpace", {folder.makeFolder("empty")}).itemCount, 0U);
}

TEST_F(TaskPlanTest, ManyItemsAreFoldedByFolderAndEachIsStillHandedOut) {
    Strings paths;
    for (int number = 0; number < 30; ++number) {
        folder.makeFolder(number < 20 ? "many" : "few");
        paths.push_back(folder.makeFile((number < 20 ? "many/" : "few/") + std::to_string(number), "x"));
    }
    std::size_t handedOut = 0;
    options.eachItem = [&](const OVPlanItem& item) { handedOut += item.fate == Fate::removed ? 1U : 0U; };
    options.foldAbove = 30;
    EXPECT_FALSE(planOf("forceDeleteFiles", paths).isFolded);
    options.foldAbove = 29;
    handedOut = 0;
    const OVTaskPlan plan = planOf("forceDeleteFiles", paths);
    EXPECT_TRUE(plan.isFolded);
    EXPECT_EQ(items(plan), (Strings{"removed many", "removed few"}));
    EXPECT_EQ(plan.items[0].entries, 20U);
    EXPECT_EQ(plan.items[0].bytes + plan.items[1].bytes, plan.bytes);
    EXPECT_EQ(plan.itemCount, 30U);
    EXPECT_EQ(handedOut, 30U);
    options.foldAbove = 1;
    EXPECT_EQ(planOf("forceDeleteFiles", paths).items.size(), 1U) << "by the next folder";
}

/// Whatever the limit, no more levels are folded than it takes, and nothing is lost or counted twice.
TEST_F(TaskPlanTest, IsFoldedAsLittleAsItTakes) {
    Strings paths;
    for (int number = 0; number < 60; ++number) {
        const std::string inner = "top/" + std::to_string(number % 2) + "/" + std::to_string(number % 6);
        folder.makeFolder(inner);
        paths.push_back(folder.makeFile(inner + "/" + std::to_string(number), "x"));
    }
    paths.push_back(folder.makeFile("odd\nname"));
    const auto foldedAt = [&](std::size_t most) {
        options.foldAbove = most;
        const OVTaskPlan plan = planOf("forceDeleteFiles", paths);
        std::uint64_t entries = 0;
        for (const OVPlanItem& item : plan.items) {
            entries += item.fate == Fate::removed ? item.entries : 0;
        }
        EXPECT_EQ(entries, 60U) << most;
        EXPECT_EQ(plan.itemCount, 60U);
        EXPECT_EQ(plan.isFolded, most < 61) << most;
        return items(plan);
    };
    EXPECT_EQ(foldedAt(61).size(), 61U);
    EXPECT_EQ(foldedAt(60), (Strings{"removed top/0/0", "removed top/1/1", "removed top/0/2", "removed top/1/3",
                                     "removed top/0/4", "removed top/1/5", "taken apart odd\nname"}));
    EXPECT_EQ(foldedAt(7).size(), 7U);
    EXPECT_EQ(foldedAt(6), (Strings{"removed top/0", "removed top/1", "taken apart odd\nname"}));
    EXPECT_EQ(foldedAt(3).size(), 3U);
    EXPECT_EQ(foldedAt(2), (Strings{"removed top", "taken apart odd\nname"}));
    EXPECT_EQ(foldedAt(1), (Strings{"removed /", "taken apart odd\nname"})) << "what is taken apart is never folded";
    EXPECT_EQ(foldedAt(0).size(), 2U);
}

TEST_F(TaskPlanTest, ProgressIsToldOfAndMayEndIt) {
    folder.makeFolder("tree/a/b");
    std::uint64_t told = 0;
    options.progress = [&](std::uint64_t entries) {
        told = entries;
        return true;
    };
    EXPECT_TRUE(planOf("forceDeleteFiles", {folder.at("tree")}).isComplete);
    EXPECT_EQ(told, 3U);
    options.progress = [](std::uint64_t) { return false; };
    EXPECT_FALSE(planOf("forceDeleteFiles", {folder.at("tree")}).isComplete);
    folder.makeFile("tree/a/.DS_Store");
    EXPECT_FALSE(planOf("removeDSStoreFilesInPath", {folder.at("tree")}).isComplete);
}

TEST_F(TaskPlanTest, RefusesArgumentsThatAreNone) {
    EXPECT_EQ(planOf("repairVolume").error, EINVAL);
    EXPECT_EQ(planOf("repairVolume", {""}).error, EINVAL);
    EXPECT_EQ(planOf("feat", {"x"}).error, EINVAL);
    EXPECT_EQ(planOf("repairVolume", {"/a", "/b"}).error, EINVAL);
    EXPECT_EQ(planOf("killProcess", {"all"}).error, EINVAL);
    EXPECT_EQ(planOf("killProcess", {"2147483646"}).error, ESRCH);
    EXPECT_EQ(planOf("killProcess", {std::to_string(::getpid())}).error, 0);
    EXPECT_EQ(planOf("removeDSStoreFilesInPath", {"/a$(reboot)"}).error, EINVAL);
    EXPECT_EQ(planOf("secureEraseFreeSpace", {"/Volumes/\""}).error, EINVAL);
}

TEST_F(TaskPlanTest, ATaskThatRemovesNothingHasItsCommandsAlone) {
    const OVTaskPlan plan = planOf("repairVolume", {"/Volumes/Data"});
    EXPECT_EQ(plan.commands, (Strings{"/usr/sbin/diskutil repairVolume /Volumes/Data"}));
    EXPECT_TRUE(plan.items.empty());
    EXPECT_EQ(plan.error, 0);
}

} // namespace
} // namespace orvane
