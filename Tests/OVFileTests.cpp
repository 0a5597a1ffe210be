#include "Support/OVFile.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>

namespace orvane {
namespace {

using Order = std::vector<std::string>;

constexpr std::string_view kOld = "the old contents";

std::int32_t writeFile(const std::string& path, std::string_view bytes, SystemCalls& calls) {
    OVAtomicFile file(path, 0600, calls);
    file.append(bytes);
    return file.commit();
}

std::string manyBytes() {
    std::string bytes;
    for (int line = 0; line < 30000; ++line) {
        bytes += "line " + std::to_string(line) + "\n";
    }
    return bytes;
}

TEST(OVAtomicFile, SyncsTheNewFileBeforeItIsRenamedIntoPlace) {
    const test::Folder folder;
    test::HookedCalls calls;
    EXPECT_EQ(writeFile(folder.at("file"), "text", calls), 0);
    EXPECT_EQ(test::contentsOf(folder.at("file")), "text");
    EXPECT_EQ(calls.order, (Order{"open", "write", "fsync", "close", "rename"}));
    EXPECT_EQ(test::namesIn(folder.path), std::vector<std::string>{"file"});
    ASSERT_EQ(calls.opened.size(), 1U);
    EXPECT_EQ(calls.opened[0].first, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC);
    EXPECT_EQ(test::permissionsOf(folder.at("file")), 0600U);
}

TEST(OVAtomicFile, EmptyFileIsAFile) {
    const test::Folder folder;
    test::HookedCalls calls;
    EXPECT_EQ(writeFile(folder.at("file"), "", calls), 0);
    EXPECT_EQ(test::contentsOf(folder.at("file")), "");
    EXPECT_EQ(calls.order, (Order{"open", "fsync", "close", "rename"}));
}

TEST(OVAtomicFile, ReplacesALinkAndNotWhatItNames) {
    const test::Folder folder;
    test::HookedCalls calls;
    folder.makeFile("target", kOld);
    ASSERT_EQ(::symlink("target", folder.at("file").c_str()), 0);
    EXPECT_EQ(writeFile(folder.at("file"), "new", calls), 0);
    EXPECT_EQ(test::contentsOf(folder.at("target")), kOld);
    EXPECT_EQ(test::contentsOf(folder.at("file")), "new");
}

TEST(OVAtomicFile, RelativePathStaysInTheWorkingFolder) {
    const test::Folder folder;
    test::HookedCalls calls;
    const std::unique_ptr<char, void (*)(void*)> before(::getcwd(nullptr, 0), std::free);
    ASSERT_EQ(::chdir(folder.path.c_str()), 0);
    EXPECT_EQ(writeFile("file", "text", calls), 0);
    ASSERT_EQ(::chdir(before.get()), 0);
    EXPECT_EQ(test::contentsOf(folder.at("file")), "text");
}

TEST(OVAtomicFile, LongestNameCanBeWritten) {
    const test::Folder folder;
    test::HookedCalls calls;
    EXPECT_EQ(writeFile(folder.at(std::string(255, 'n')), "text", calls), 0);
}

TEST(OVAtomicFile, GoesOnAfterShortAndInterruptedWrites) {
    const test::Folder folder;
    const std::string bytes = manyBytes();
    test::HookedCalls calls;
    calls.longestWrite = 1021;
    calls.fail("write", EINTR, 7, 3);
    EXPECT_EQ(writeFile(folder.at("file"), bytes, calls), 0);
    EXPECT_EQ(test::contentsOf(folder.at("file")), bytes);
    EXPECT_GT(calls.order.size(), bytes.size() / 1021 + 7);
}

TEST(OVAtomicFile, ManySmallPiecesMakeFewWrites) {
    const test::Folder folder;
    test::HookedCalls calls;
    OVAtomicFile file(folder.at("file"), 0600, calls);
    std::string bytes;
    for (int count = 0; count < 100000; ++count) {
        file.append("ab");
        bytes += "ab";
    }
    EXPECT_EQ(file.commit(), 0);
    EXPECT_EQ(test::contentsOf(folder.at("file")), bytes);
    EXPECT_LE(calls.order.size(), 4U + bytes.size() / 65536 + 1);
}

TEST(OVAtomicFile, InterruptedOpenAndSyncAreTriedAgain) {
    const test::Folder folder;
    for (const char* const call : {"open", "fsync"}) {
        test::HookedCalls calls;
        calls.fail(call, EINTR, 3);
        EXPECT_EQ(writeFile(folder.at("file"), "text", calls), 0) << call;
    }
}

TEST(OVAtomicFile, InterruptedCloseIsNotTriedAgain) {
    const test::Folder folder;
    test::HookedCalls calls;
    calls.fail("close", EINTR);
    EXPECT_EQ(writeFile(folder.at("file"), "text", calls), 0);
    EXPECT_EQ(calls.order, (Order{"open", "write", "fsync", "close", "rename"}));
}

TEST(OVAtomicFile, TakesAnotherNameWhenOneIsTaken) {
    const test::Folder folder;
    test::HookedCalls calls;
    calls.fail("open", EEXIST, 5);
    EXPECT_EQ(writeFile(folder.at("file"), "text", calls), 0);
    EXPECT_EQ(calls.opened.size(), 6U);

    calls.fail("open", EEXIST);
    EXPECT_EQ(writeFile(folder.at("file"), "text", calls), EEXIST); // but not for ever
}

struct Injected {
    const char* call;
    int error;
    int passed;
};

class OVAtomicFileFailure : public ::testing::TestWithParam<Injected> {};

TEST_P(OVAtomicFileFailure, LeavesTheOldFileAndNothingElse) {
    const auto [call, error, passed] = GetParam();
    const test::Folder folder;
    folder.makeFile("file", kOld);
    test::HookedCalls calls;
    calls.longestWrite = 65536; // so that there are several
    calls.fail(call, error, 1000, passed);
    EXPECT_EQ(writeFile(folder.at("file"), manyBytes(), calls), error);
    EXPECT_EQ(test::contentsOf(folder.at("file")), kOld);
    EXPECT_EQ(test::namesIn(folder.path), std::vector<std::string>{"file"});
}

INSTANTIATE_TEST_SUITE_P(EveryCall, OVAtomicFileFailure,
                         ::testing::Values(Injected{"open", EACCES, 0}, Injected{"open", EMFILE, 0},
                                           Injected{"write", ENOSPC, 0}, Injected{"write", EIO, 1},
                                           Injected{"write", EDQUOT, 3}, Injected{"fsync", EIO, 0},
                                           Injected{"close", EIO, 0}, Injected{"rename", EXDEV, 0}),
                         [](const auto& instance) {
                             return std::string(instance.param.call) + std::to_string(instance.param.error) + "after" +
                                    std::to_string(instance.param.passed);
                         });

TEST(OVAtomicFile, WriteThatTakesNothingIsAFailure) {
    const test::Folder folder;
    test::HookedCalls calls;
    calls.fail("write", 0);
    calls.writeResult = 0;
    EXPECT_EQ(writeFile(folder.at("file"), "text", calls), ENOSPC);
    EXPECT_TRUE(test::namesIn(folder.path).empty());
}

TEST(OVAtomicFile, FirstErrorIsTheOneReported) {
    const test::Folder folder;
    test::HookedCalls calls;
    calls.fail("write", ENOSPC);
    OVAtomicFile file(folder.at("file"), 0600, calls);
    file.append(std::string(200000, 'x'));
    calls.fail("open", EIO);
    file.append("more");
    EXPECT_EQ(file.commit(), ENOSPC);
    EXPECT_TRUE(test::namesIn(folder.path).empty());
}

TEST(OVAtomicFile, WhatIsNotCommittedGoesAway) {
    const test::Folder folder;
    folder.makeFile("file", kOld);
    test::HookedCalls calls;
    {
        OVAtomicFile file(folder.at("file"), 0600, calls);
        file.append(std::string(200000, 'x'));
        EXPECT_EQ(test::namesIn(folder.path).size(), 2U);
    }
    EXPECT_EQ(test::namesIn(folder.path), std::vector<std::string>{"file"});
    EXPECT_EQ(test::contentsOf(folder.at("file")), kOld);
}

/// Runs the body in a child process and returns its exit code, -1 when a signal ended it.
int inChild(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(body());
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(OVAtomicFile, FileSizeLimitIsAnErrorAndNoSignal) {
    const test::Folder folder;
    folder.makeFile("file", kOld);
    const int error = inChild([&] {
        const rlimit limit = {100000, 100000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        ::signal(SIGXFSZ, SIG_DFL);
        test::HookedCalls calls;
        return writeFile(folder.at("file"), manyBytes(), calls);
    });
    EXPECT_EQ(error, EFBIG);
    EXPECT_EQ(test::contentsOf(folder.at("file")), kOld);
    EXPECT_EQ(test::namesIn(folder.path), std::vector<std::string>{"file"});
}

TEST(OVAtomicFile, SignalMaskAndForeignSignalsStayAsTheyWere) {
    const test::Folder folder;
    const int outcome = inChild([&] {
        sigset_t limitSignal;
        sigemptyset(&limitSignal);
        sigaddset(&limitSignal, SIGXFSZ);
        ::sigprocmask(SIG_BLOCK, &limitSignal, nullptr);
        ::raise(SIGXFSZ); // somebody else's, waiting
        test::HookedCalls calls;
        if (writeFile(folder.at("file"), "text", calls) != 0) {
            return 1;
        }
        sigset_t pending;
        sigset_t mask;
        ::sigpending(&pending);
        ::sigprocmask(SIG_BLOCK, nullptr, &mask);
        return sigismember(&pending, SIGXFSZ) == 1 && sigismember(&mask, SIGXFSZ) == 1 ? 0 : 2;
    });
    EXPECT_EQ(outcome, 0);
}

TEST(ErrorDescription, IsTheSystemsText) {
    EXPECT_EQ(errorDescription(ENOSPC), "No space left on device");
}

} // namespace
} // namespace orvane
