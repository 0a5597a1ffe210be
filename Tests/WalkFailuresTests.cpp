// The calls that look at files made to fail, one after the other, while a tree is walked and while plans are made. What
// is not seen then is named: a plan that is silently short would be a promise that the run does not keep.

#include "Support/OVTreeWalk.h"
#include "Tasks/OVPlanNames.h"
#include "Tests/Fakes/FakeHome.h"
#include "Tests/OpenDescriptors.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

/// The call that fails next.
struct Failure {
    std::size_t number = 0; ///< 0 for none
    int error = 0;
    std::size_t count = 0;
    const char* call = "";

    bool isDue(const char* name) {
        if (number == 0 || ++count != number) {
            return false;
        }
        call = name;
        errno = error;
        return true;
    }
} failure;

} // namespace

// The linker leads the product's calls here.
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
int __real_openat(int folder, const char* path, int flags, ...);
int __wrap_openat(int folder, const char* path, int flags, ...);
DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path);
DIR* __real_fdopendir(int descriptor);
DIR* __wrap_fdopendir(int descriptor);
dirent* __real_readdir(DIR* folder);
dirent* __wrap_readdir(DIR* folder);
int __real_fstatat(int folder, const char* path, struct stat* status, int flags);
int __wrap_fstatat(int folder, const char* path, struct stat* status, int flags);
int __real_lstat(const char* path, struct stat* status);
int __wrap_lstat(const char* path, struct stat* status);

int __wrap_openat(int folder, const char* path, int flags, ...) {
    return failure.isDue("openat") ? -1 : __real_openat(folder, path, flags);
}
DIR* __wrap_opendir(const char* path) {
    return failure.isDue("opendir") ? nullptr : __real_opendir(path);
}
DIR* __wrap_fdopendir(int descriptor) {
    return failure.isDue("fdopendir") ? nullptr : __real_fdopendir(descriptor);
}
dirent* __wrap_readdir(DIR* folder) {
    return failure.isDue("readdir") ? nullptr : __real_readdir(folder);
}
int __wrap_fstatat(int folder, const char* path, struct stat* status, int flags) {
    return failure.isDue("fstatat") ? -1 : __real_fstatat(folder, path, status, flags);
}
int __wrap_lstat(const char* path, struct stat* status) {
    return failure.isDue("lstat") ? -1 : __real_lstat(path, status);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
}

namespace orvane {
namespace {

using Strings = std::vector<std::string>;

constexpr int kErrors[] = {EACCES, EINTR, EIO, EMFILE, ENOMEM};

/// Runs it with each call failing in each way; `check` gets what was told.
template <typename Run, typename Check> void sweep(const Run& run, const Check& check) {
    std::size_t injected = 0;
    for (const int error : kErrors) {
        for (std::size_t number = 1;; ++number) {
            failure = {.number = number, .error = error};
            const auto result = run();
            const bool wasReached = failure.count >= number;
            failure.number = 0;
            if (!wasReached) {
                break;
            }
            ++injected;
            check(result);
            if (::testing::Test::HasFailure()) {
                FAIL() << "call " << number << ", " << failure.call << ", with " << std::strerror(error);
            }
            ASSERT_LT(number, 10000U);
        }
    }
    std::printf("%zu failures\n", injected);
    EXPECT_GT(injected, 0U);
}

/// Some folders in each other, files, links and an empty folder.
void fill(const test::Folder& folder, const std::string& name) {
    folder.makeFolder(name + "/a/b/c");
    folder.makeFolder(name + "/empty");
    for (const char* const file : {"/1", "/2", "/a/3", "/a/4", "/a/b/5", "/a/b/c/6"}) {
        folder.makeFile(name + file, "contents");
    }
    EXPECT_EQ(::link(folder.at(name + "/1").c_str(), folder.at(name + "/a/again").c_str()), 0);
    EXPECT_EQ(::symlink("/", folder.at(name + "/link").c_str()), 0);
}

struct Walked {
    OVTreeWalk::Tree tree;
    Strings unreadable;
};

Walked walked(const std::string& path) {
    std::vector<OVTreeWalk::Tree> trees = {{.path = path}};
    OVTreeWalk walk({.remover = OVTreeWalk::Remover::user, .threads = 1});
    EXPECT_TRUE(walk.walk(trees));
    return {trees.front(), walk.unreadable};
}

TEST(WalkFailuresTest, WhatIsNotCountedLiesInAFolderThatIsNamed) {
    const test::Folder folder;
    fill(folder, "tree");
    const Walked whole = walked(folder.at("tree"));
    ASSERT_EQ(whole.tree.entries, 13U);
    const auto open = test::openDescriptors();
    sweep([&] { return walked(folder.at("tree")); },
          [&](const Walked& result) {
              EXPECT_EQ(test::openDescriptors(), open);
              EXPECT_LE(result.tree.entries, whole.tree.entries);
              EXPECT_LE(result.tree.bytes, whole.tree.bytes);
              if (result.tree.entries < whole.tree.entries) {
                  EXPECT_TRUE(result.tree.error == failure.error || result.unreadable.size() == 1)
                      << result.tree.entries;
              } else {
                  EXPECT_EQ(result.tree.bytes, whole.tree.bytes);
              }
          });
}

TEST(PlanNamesFailuresTest, AFolderThatIsNotReadToItsEndIsNamed) {
    const test::Folder folder;
    fill(folder, "tree");
    std::set<std::string> unreadable;
    const Strings whole = OVNamesIn(folder.at("tree"), unreadable);
    ASSERT_EQ(whole.size(), 5U);
    ASSERT_TRUE(unreadable.empty());
    const auto open = test::openDescriptors();
    sweep(
        [&] {
            unreadable.clear();
            return OVNamesIn(folder.at("tree"), unreadable);
        },
        [&](const Strings& result) {
            EXPECT_EQ(test::openDescriptors(), open);
            EXPECT_TRUE(result == whole || unreadable == std::set{folder.at("tree")}) << result.size();
        });
    EXPECT_EQ(OVNamesIn(folder.at("none"), unreadable), Strings());
    EXPECT_EQ(unreadable.count(folder.at("none")), 0U) << "there is nothing";
}

/// A task of each kind, for a user whose home is the test's.
class PlanFailuresTest : public ::testing::TestWithParam<const char*>, public test::RecordingWorld {
  protected:
    PlanFailuresTest() {
        calls.userID = test::FakeHome::kUser;
        for (const char* const place : {"home/Desktop", "home/Library/Caches/one", "home/Library/Caches/two"}) {
            fill(folder, place);
        }
        for (const char* const name : {"home/.DS_Store", "home/Desktop/a/.DS_Store", "home/Desktop/a/b/.DS_Store"}) {
            folder.makeFile(name, "x");
        }
        options.archiveDesktopPath = folder.makeFolder("archive");
    }

    OVTaskPlan plan() {
        const OVTaskDescription& task = *OVTaskNamed(GetParam());
        const Strings arguments =
            task.argument.empty() ? Strings() : Strings{folder.at("home/Desktop"), folder.at("home/Library")};
        return OVTaskPlan::make(task,
                                task.argument.ends_with("...")
                                    ? arguments
                                    : Strings(arguments.begin(), arguments.begin() + (arguments.empty() ? 0 : 1)),
                                options, services());
    }

    test::FakeHome fakeHome{folder.makeFolder("home")};
    OVTaskPlan::Options options;
};

TEST_P(PlanFailuresTest, WhatIsMissingFromThePlanIsSaid) {
    const OVTaskPlan whole = plan();
    ASSERT_EQ(whole.error, 0);
    ASSERT_GT(whole.itemCount, 0U);
    const auto open = test::openDescriptors();
    sweep([&] { return plan(); },
          [&](const OVTaskPlan& result) {
              EXPECT_EQ(test::openDescriptors(), open);
              if (result.itemCount < whole.itemCount || result.entries < whole.entries) {
                  EXPECT_TRUE(result.error != 0 || !result.unreadable.empty())
                      << result.itemCount << " of " << whole.itemCount << " items, " << result.entries << " of "
                      << whole.entries;
              }
          });
}

INSTANTIATE_TEST_SUITE_P(Of, PlanFailuresTest,
                         ::testing::Values("forceDeleteFiles", "removeDSStoreFilesInPath", "cleanUserCache",
                                           "cleanDesktop"),
                         [](const auto& task) { return std::string(task.param); });

} // namespace
} // namespace orvane
