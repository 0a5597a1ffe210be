// What an ordinary user leaves behind for the setuid tool, and what is left of it when the task starts.

#include "Tests/Stage/StageTest.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::stage {
namespace {

class StageHardeningTest : public ::testing::Test {
  protected:
    void SetUp() override { ORVANE_NEEDS("suid"); }

    /// Runs a task as ann with the shell recording, and returns what the shell saw.
    static Recorded recordedRun(Start start) {
        recordShell();
        start.words = {"csc"};
        const Result result = run(start);
        EXPECT_EQ(result.exitCode(), 0) << result.errors << " signal " << result.signal();
        const auto all = recorded();
        EXPECT_EQ(all.size(), 1U);
        return all.empty() ? Recorded() : all.front();
    }
};

TEST_F(StageHardeningTest, TheEnvironmentIsBuiltAnewFromAnAllowlist) {
    Start start;
    start.environment = Strings{
        "PATH=/Users/ann/evil:/usr/bin",
        "HOME=/Users/ann/evil",
        "USER=root",
        "LOGNAME=root",
        "LANG=de_DE.UTF-8",
        "LC_ALL=/Users/ann/evil",
        "LC_CTYPE=C.UTF-8",
        "LC_MESSAGES=%s%n",
        "LC_=C",
        "LC_lower=C",
        "LANGUAGE=de",
        "TERM=xterm-256color",
        "TERM=linux",
        "TERMINFO=/Users/ann/evil",
        "LD_PRELOAD=/Users/ann/evil.so",
        "LD_LIBRARY_PATH=/Users/ann/evil",
        "DYLD_INSERT_LIBRARIES=/Users/ann/evil.dylib",
        "BASH_FUNC_mv%%=() { id; }",
        "ENV=/Users/ann/evil/env",
        "BASH_ENV=/Users/ann/evil/env",
        "SHELLOPTS=xtrace",
        "BASHOPTS=extdebug",
        "PS4=$(id)",
        "IFS=/",
        "CDPATH=/Users/ann/evil",
        "TMPDIR=/Users/ann/evil",
        "TZ=/Users/ann/evil/zone",
        "TZDIR=/Users/ann/evil",
        "PERL5LIB=/Users/ann/evil",
        "PERL5OPT=-Mevil",
        "PYTHONPATH=/Users/ann/evil",
        "PYTHONSTARTUP=/Users/ann/evil/start",
        "GCONV_PATH=/Users/ann/evil",
        "LOCPATH=/Users/ann/evil",
        "GLOBIGNORE=*",
        "POSIXLY_CORRECT=1",
        "=nothing",
        "NOEQUALS",
        "",
    };
    EXPECT_EQ(recordedRun(start).environment, (Strings{
                                                  "PATH=/usr/bin:/bin:/usr/sbin:/sbin",
                                                  "LANG=de_DE.UTF-8",
                                                  "LC_CTYPE=C.UTF-8",
                                                  "TERM=xterm-256color",
                                                  "HOME=/Users/ann",
                                                  "USER=ann",
                                                  "LOGNAME=ann",
                                              }));
}

TEST_F(StageHardeningTest, AnEmptyEnvironmentIsFilled) {
    Start start;
    start.environment = Strings{};
    EXPECT_EQ(recordedRun(start).environment,
              (Strings{"PATH=/usr/bin:/bin:/usr/sbin:/sbin", "HOME=/Users/ann", "USER=ann", "LOGNAME=ann"}));
}

TEST_F(StageHardeningTest, AUserWithoutAnAccountGetsNobodysHome) {
    Start start;
    start.user = 777;
    start.environment = Strings{"HOME=/Users/ann", "USER=ann"};
    EXPECT_EQ(recordedRun(start).environment, (Strings{"PATH=/usr/bin:/bin:/usr/sbin:/sbin", "HOME=/"}));
}

TEST_F(StageHardeningTest, AThousandKeptNamesAreOneEach) {
    Start start;
    Strings environment;
    for (int count = 0; count < 1000; ++count) {
        environment.push_back("LC_TIME=C" + std::to_string(count));
    }
    environment.emplace_back("LC_" + std::string(30, 'A') + "=C"); // no category is that long
    start.environment = environment;
    EXPECT_EQ(recordedRun(start).environment, (Strings{"PATH=/usr/bin:/bin:/usr/sbin:/sbin", "LC_TIME=C0",
                                                       "HOME=/Users/ann", "USER=ann", "LOGNAME=ann"}));
}

TEST_F(StageHardeningTest, ManyKeptNamesLeaveRoomForTheAccount) {
    Start start;
    Strings environment;
    for (char first = 'A'; first <= 'Z'; ++first) {
        for (char second = 'A'; second <= 'Z'; ++second) {
            environment.push_back(std::string("LC_") + first + second + "=" + std::string(64, 'C'));
        }
    }
    start.environment = environment;
    const Strings seen = recordedRun(start).environment;
    EXPECT_EQ(seen.front(), "PATH=/usr/bin:/bin:/usr/sbin:/sbin");
    ASSERT_GT(seen.size(), 3U);
    EXPECT_EQ(Strings(seen.end() - 3, seen.end()), (Strings{"HOME=/Users/ann", "USER=ann", "LOGNAME=ann"}));
}

/// The real shell with everything planted that could make it, or a program it starts, run the caller's code.
TEST_F(StageHardeningTest, NothingOfTheCallersIsRunAsRoot) {
    const std::string plant = "#!/bin/sh\ntouch /var/log/pwned\n";
    makeFolder("/Users/ann/evil", kAnn);
    for (const char* name : {"mv", "rm", "killall", "dscacheutil", "periodic", "awk", "wc", "expr", "sed", "sudo",
                             "atsutil", "sleep", "find", "env", "date", "env.sh"}) {
        write(std::string("/Users/ann/evil/") + name, plant, kAnn, 0755);
    }
    Start start;
    start.environment = Strings{
        "PATH=/Users/ann/evil:.:/usr/bin:/bin:/usr/sbin:/sbin",
        "ENV=/Users/ann/evil/env.sh",
        "BASH_ENV=/Users/ann/evil/env.sh",
        "BASH_FUNC_killall%%=() { touch /var/log/pwned; }",
        "BASH_FUNC_mv%%=() { touch /var/log/pwned; }",
        "SHELLOPTS=braceexpand:hashall:interactive-comments:xtrace",
        "PS4=$(touch /var/log/pwned)",
        "IFS=/",
        "PERL5OPT=-M-strict;system('touch /var/log/pwned');",
    };
    start.beforeExec = [] { EXPECT_EQ(::chdir("/Users/ann/evil"), 0); };
    for (const char* task : {"flushDNS", "crondailyleo", "removeTemporary", "csc"}) {
        start.words = {task};
        const Result result = run(start);
        EXPECT_EQ(result.exitCode(), 0) << task << result.errors;
        EXPECT_FALSE(exists("/var/log/pwned")) << task;
        EXPECT_EQ(result.errors.find("+ "), std::string::npos) << "no tracing: " << result.errors;
    }
}

TEST_F(StageHardeningTest, ClosedStandardDescriptorsAreOpenOnNothing) {
    recordShell();
    for (unsigned set = 1; set < 8; ++set) {
        ::unlink("/stage/record");
        Start start;
        start.words = {"csc"};
        start.beforeExec = [set] {
            for (int descriptor = 0; descriptor < 3; ++descriptor) {
                if ((set & (1U << static_cast<unsigned>(descriptor))) != 0) {
                    ::close(descriptor);
                }
            }
        };
        EXPECT_EQ(run(start).exitCode(), 0);
        ASSERT_EQ(recorded().size(), 1U);
        const auto descriptors = recorded()[0].descriptors;
        ASSERT_EQ(descriptors.size(), 3U);
        for (int descriptor = 0; descriptor < 3; ++descriptor) {
            const bool wasClosed = (set & (1U << static_cast<unsigned>(descriptor))) != 0;
            EXPECT_EQ(descriptors.at(descriptor) == "/dev/null", wasClosed) << set << ' ' << descriptor;
        }
    }
}

TEST_F(StageHardeningTest, FurtherDescriptorsAreClosedThoseAboveTheLimitToo) {
    Start start;
    start.beforeExec = [] {
        for (const int descriptor : {3, 4, 17, 63, 900}) {
            ::dup2(STDIN_FILENO, descriptor);
        }
        const rlimit low = {8, 8};
        ::setrlimit(RLIMIT_NOFILE, &low);
    };
    const auto descriptors = recordedRun(start).descriptors;
    Strings numbers;
    for (const auto& [number, target] : descriptors) {
        numbers.push_back(std::to_string(number));
    }
    EXPECT_EQ(numbers, (Strings{"0", "1", "2"}));
}

TEST_F(StageHardeningTest, IgnoredAndBlockedSignalsAreDefaultAgain) {
    Start start;
    start.beforeExec = [] {
        for (int number = 1; number < NSIG; ++number) {
            ::signal(number, SIG_IGN);
        }
        sigset_t all;
        ::sigfillset(&all);
        ::sigprocmask(SIG_SETMASK, &all, nullptr);
    };
    const Recorded seen = recordedRun(start);
    // system() itself ignores SIGINT and SIGQUIT in the tool, not in the shell.
    EXPECT_EQ(seen.ignoredSignals, (std::vector<int>{}));
    EXPECT_EQ(seen.blockedSignals, (std::vector<int>{}));
}

TEST_F(StageHardeningTest, PendingSignalsOfTheCallerDoNotEndTheTask) {
    Start start;
    start.beforeExec = [] {
        sigset_t all;
        ::sigfillset(&all);
        ::sigprocmask(SIG_SETMASK, &all, nullptr);
        for (const int number : {SIGTERM, SIGHUP, SIGALRM, SIGUSR1, SIGXCPU, SIGRTMIN + 3}) {
            ::raise(number);
        }
    };
    recordedRun(start);
}

TEST_F(StageHardeningTest, TimersOfTheCallerAreCancelled) {
    Start start;
    start.words = {"removeTemporary"}; // takes more than a second
    start.beforeExec = [] {
        itimerval soon = {};
        soon.it_interval = {0, 300000};
        soon.it_value = {0, 300000};
        for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
            ::setitimer(timer, &soon, nullptr);
        }
    };
    const Result result = run(start);
    EXPECT_EQ(result.signal(), 0);
    EXPECT_EQ(result.exitCode(), 0);
    withoutFrame(result.output);
    EXPECT_FALSE(recordedRun(start).hasTimers);
}

TEST_F(StageHardeningTest, SoftLimitsAreRaisedToTheHardOnesAndCoresAreOff) {
    constexpr rlim_t kHardSize = 1 << 25;
    Start start;
    start.asRoot = [] {
        const rlimit files = {4096, 4096};
        ::setrlimit(RLIMIT_NOFILE, &files);
        const rlimit sizes = {kHardSize, kHardSize};
        ::setrlimit(RLIMIT_FSIZE, &sizes);
        const rlimit cores = {RLIM_INFINITY, RLIM_INFINITY};
        ::setrlimit(RLIMIT_CORE, &cores);
    };
    start.beforeExec = [] {
        const auto lower = [](auto resource, rlim_t soft) {
            rlimit limit = {};
            ::getrlimit(resource, &limit);
            limit.rlim_cur = soft;
            ::setrlimit(resource, &limit);
        };
        lower(RLIMIT_FSIZE, 0);
        lower(RLIMIT_CPU, 5);
        lower(RLIMIT_NPROC, 1);
        lower(RLIMIT_NOFILE, 8);   // fewer, and the program loader fails
#if !defined(__SANITIZE_ADDRESS__) // whose shadow memory is larger
        lower(RLIMIT_DATA, 32U << 20U);
        lower(RLIMIT_AS, 64U << 20U);
#endif
    };
    const Recorded seen = recordedRun(start);
    for (const int resource : {RLIMIT_FSIZE, RLIMIT_CPU, RLIMIT_DATA, RLIMIT_AS, RLIMIT_NPROC, RLIMIT_NOFILE}) {
        const rlimit limit = seen.limits.at(resource);
        EXPECT_EQ(limit.rlim_cur, limit.rlim_max) << resource;
    }
    EXPECT_EQ(seen.limits.at(RLIMIT_NOFILE).rlim_max, 4096U) << "the hard limits are not the tool's to change";
    EXPECT_EQ(seen.limits.at(RLIMIT_FSIZE).rlim_max, kHardSize);
    EXPECT_EQ(seen.limits.at(RLIMIT_CORE).rlim_cur, 0U);
    EXPECT_EQ(seen.limits.at(RLIMIT_CORE).rlim_max, 0U);
}

TEST_F(StageHardeningTest, MaskAndFolderAreTheToolsOwn) {
    makeFolder("/Users/ann/deep/below", kAnn);
    Start start;
    start.beforeExec = [] {
        ::umask(0777);
        EXPECT_EQ(::chdir("/Users/ann/deep/below"), 0);
    };
    const Recorded seen = recordedRun(start);
    EXPECT_EQ(seen.mask, 022U);
    EXPECT_EQ(seen.folder, "/private/var/empty");
}

TEST_F(StageHardeningTest, WithoutAnEmptyFolderOfRootsTheTaskWorksInTheRootFolder) {
    ASSERT_EQ(::chmod("/var/empty", 0777), 0);
    EXPECT_EQ(recordedRun({}).folder, "/");
    ::unlink("/stage/record");
    ASSERT_EQ(::rmdir("/var/empty"), 0);
    Start start;
    start.words = {"csc"};
    EXPECT_EQ(run(start).exitCode(), 0);
    EXPECT_EQ(recorded().at(0).folder, "/");
}

TEST_F(StageHardeningTest, WithoutNullDeviceNothingIsRun) {
    recordShell();
    ASSERT_EQ(::rename("/dev/null", "/dev/null.away"), 0);
    Start start;
    start.words = {"csc"};
    start.beforeExec = [] { ::close(STDIN_FILENO); };
    const Result result = run(start);
    EXPECT_EQ(result.exitCode(), 1);
    EXPECT_NE(result.errors.find("cannot open /dev/null"), std::string::npos) << result.errors;
    EXPECT_TRUE(recorded().empty());
}

TEST_F(StageHardeningTest, RootsOwnSettingsAreLeftAlone) {
    makeFolder("/var/root/work");
    Start start;
    start.user = kRoot;
    start.environment = Strings{"PATH=/usr/local/bin:/usr/bin:/bin", "TZ=Europe/Berlin", "FOO=bar", "HOME=/nowhere"};
    start.beforeExec = [] {
        ::dup2(STDIN_FILENO, 17);
        ::signal(SIGUSR1, SIG_IGN);
        ::umask(077);
        ASSERT_EQ(::chdir("/var/root/work"), 0);
        const rlimit limit = {100, 200};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    };
    const Recorded seen = recordedRun(start);
    EXPECT_EQ(seen.environment, *start.environment);
    EXPECT_EQ(seen.descriptors.count(17), 1U);
    EXPECT_EQ(seen.ignoredSignals, (std::vector<int>{SIGUSR1}));
    EXPECT_EQ(seen.mask, 077U);
    EXPECT_EQ(seen.folder, "/private/var/root/work");
    EXPECT_EQ(seen.limits.at(RLIMIT_NOFILE).rlim_cur, 100U);
}

TEST_F(StageHardeningTest, AnArgumentThatARootShellWouldActOnIsRefused) {
    recordShell();
    for (const char* argument : {"/Volumes/x'; touch /var/log/pwned; '", "/Volumes/$(touch /var/log/pwned)",
                                 "/Volumes/`id`", "/Volumes/x\"; id; \"", "/Volumes/\\", "/Volumes/x\ny"}) {
        const Result result = runTool(kAnn, {"secureEraseFreeSpace", argument});
        EXPECT_EQ(result.exitCode(), 1) << argument;
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors.find("] Command-line tool: secureEraseFreeSpace: "), std::string::npos)
            << result.errors;
        EXPECT_NE(result.errors.find("nothing was run"), std::string::npos) << result.errors;
    }
    EXPECT_TRUE(recorded().empty());
}

} // namespace
} // namespace orvane::stage
