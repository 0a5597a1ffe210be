// What an ordinary user leaves behind for the setuid tool, and what is left of it when the task starts.

#include "Tests/Stage/StageTest.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <initializer_list>
#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
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
        "LC_A1=C",
        "LC_TIMES=C",
        "LC_TIME=POSIX",
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
                                                  "LC_TIMES=C",
                                                  "LC_TIME=POSIX",
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

TEST_F(StageHardeningTest, AHomeThatIsNotAnAbsolutePathIsNobodys) {
    write("/etc/passwd", read("/etc/passwd") + "eve:*:777:20:Eve:Users/ann:/bin/bash\n");
    Start start;
    start.user = 777;
    start.environment = Strings{};
    EXPECT_EQ(recordedRun(start).environment,
              (Strings{"PATH=/usr/bin:/bin:/usr/sbin:/sbin", "HOME=/", "USER=eve", "LOGNAME=eve"}));
}

TEST_F(StageHardeningTest, AThousandKeptNamesAreOneEach) {
    Start start;
    Strings environment;
    for (int count = 0; count < 1000; ++count) {
        environment.push_back("LC_TIME=C" + std::to_string(count));
    }
    start.environment = environment;
    EXPECT_EQ(recordedRun(start).environment, (Strings{"PATH=/usr/bin:/bin:/usr/sbin:/sbin", "LC_TIME=C0",
                                                       "HOME=/Users/ann", "USER=ann", "LOGNAME=ann"}));
}

TEST_F(StageHardeningTest, ANameLongerThanAnyCategoryIsNotKept) {
    const std::string longest = "LC_" + std::string(29, 'A') + "=C";
    Start start;
    start.environment =
        Strings{longest, "LC_" + std::string(30, 'B') + "=C", "LC_" + std::string(61, 'C') + "=C", "LC_TIME=C"};
    EXPECT_EQ(recordedRun(start).environment, (Strings{"PATH=/usr/bin:/bin:/usr/sbin:/sbin", longest, "LC_TIME=C",
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
    ASSERT_EQ(seen.size(), 1U + 32U + 3U);
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

/// Leaves descriptors open, one of them above the limits, hard and soft.
void leaveDescriptorsOpen() {
    for (const int descriptor : {3, 4, 17, 63, 900}) {
        ::dup2(STDIN_FILENO, descriptor);
    }
    const rlimit low = {64, 64};
    ::setrlimit(RLIMIT_NOFILE, &low);
}

Strings numbers(const std::map<int, std::string>& descriptors) {
    Strings result;
    for (const auto& [number, target] : descriptors) {
        result.push_back(std::to_string(number));
    }
    return result;
}

/// Makes the kernel one that does not know the system calls, for this process and all that it becomes.
void takeAway(std::initializer_list<unsigned> systemCalls) {
    std::vector<sock_filter> filter = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const unsigned number : systemCalls) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0 || ::syscall(SYS_close_range, 5000, 5000, 0) == 0) {
        ::_exit(125);
    }
}

TEST_F(StageHardeningTest, FurtherDescriptorsAreClosedThoseAboveTheLimitToo) {
    Start start;
    start.beforeExec = leaveDescriptorsOpen;
    EXPECT_EQ(numbers(recordedRun(start).descriptors), (Strings{"0", "1", "2"}));
}

TEST_F(StageHardeningTest, WithoutCloseRangeTheyAreFoundInTheListOfOpenOnes) {
    ORVANE_NEEDS("proc");
    Start start;
    start.asRoot = [] { takeAway({SYS_close_range}); };
    start.beforeExec = leaveDescriptorsOpen;
    EXPECT_EQ(numbers(recordedRun(start).descriptors), (Strings{"0", "1", "2"}));
}

TEST_F(StageHardeningTest, DescriptorsThatCannotBeFoundKeepTheTaskFromRunning) {
    recordShell();
    Start start;
    start.words = {"csc"};
    start.asRoot = [] { takeAway({SYS_close_range, SYS_getdents64}); };
    start.beforeExec = leaveDescriptorsOpen;
    const Result result = run(start);
    EXPECT_EQ(result.exitCode(), 1);
    EXPECT_NE(result.errors.find("] Command-line tool: cannot close inherited descriptors: error "), std::string::npos)
        << result.errors;
    EXPECT_EQ(lines(result.errors).size(), 1U);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(recorded().empty());
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

/// The timers of processor time go on with the tool, which uses next to none: CallerTimersTest looks at those.
TEST_F(StageHardeningTest, ATimerOfTheCallersDoesNotEndTheTask) {
    Start start;
    start.words = {"removeTemporary"}; // takes more than a second
    start.beforeExec = [] {
        itimerval soon = {};
        soon.it_interval = {0, 300000};
        soon.it_value = {0, 300000};
        ::setitimer(ITIMER_REAL, &soon, nullptr);
    };
    const Result result = run(start);
    EXPECT_EQ(result.signal(), 0);
    EXPECT_EQ(result.exitCode(), 0);
    withoutFrame(result.output);
}

void lower(int resource, rlim_t soft, std::optional<rlim_t> hard = std::nullopt) {
    rlimit limit = {};
    ::getrlimit(static_cast<__rlimit_resource>(resource), &limit);
    limit = {soft, hard.value_or(limit.rlim_max)};
    if (::setrlimit(static_cast<__rlimit_resource>(resource), &limit) != 0) {
        ::_exit(125);
    }
}

/// Root without the right to raise a hard limit, as in many a container.
void cannotRaiseHardLimits() {
    if (::prctl(PR_CAPBSET_DROP, CAP_SYS_RESOURCE) != 0) {
        ::_exit(125);
    }
}

TEST_F(StageHardeningTest, SoftLimitsAreRaisedWhereTheHardOnesStay) {
    Start start;
    start.asRoot = [] {
        cannotRaiseHardLimits();
        lower(RLIMIT_NOFILE, 4096, 4096);
    };
    start.beforeExec = [] {
        lower(RLIMIT_FSIZE, 0);
        lower(RLIMIT_CPU, 5);
        lower(RLIMIT_STACK, 256U << 10U);
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
    EXPECT_EQ(seen.limits.at(RLIMIT_NOFILE).rlim_max, 4096U);
    EXPECT_EQ(seen.limits.at(RLIMIT_STACK).rlim_cur, 8U << 20U) << "more would cost randomness";
}

TEST_F(StageHardeningTest, MoreOpenFilesThanTheToolWantsAreLeft) {
    Start start;
    start.asRoot = [] { lower(RLIMIT_NOFILE, 12000, 13000); };
    EXPECT_EQ(recordedRun(start).limits.at(RLIMIT_NOFILE).rlim_cur, 12000U);
}

TEST_F(StageHardeningTest, CoreFilesAreOffForGood) {
    Start start;
    start.beforeExec = [] {
        rlimit cores = {};
        ::getrlimit(RLIMIT_CORE, &cores);
        if (cores.rlim_max == 0) {
            ::_exit(125); // where this machine allows none, there is nothing to see
        }
        lower(RLIMIT_CORE, cores.rlim_max);
    };
    const rlimit cores = recordedRun(start).limits.at(RLIMIT_CORE);
    EXPECT_EQ(cores.rlim_cur, 0U);
    EXPECT_EQ(cores.rlim_max, 0U);
}

struct LowLimit {
    int resource;
    rlim_t lowest; ///< with which a task is started
    const char* text;
};

constexpr std::array kLowLimits = {
    LowLimit{RLIMIT_FSIZE, RLIM_INFINITY, "file size"},
    LowLimit{RLIMIT_CPU, RLIM_INFINITY, "processor time"},
#if !defined(__SANITIZE_ADDRESS__)
    LowLimit{RLIMIT_DATA, 64U << 20U, "data size"},
    LowLimit{RLIMIT_AS, 256U << 20U, "address space"},
#endif
    LowLimit{RLIMIT_STACK, 1U << 20U, "stack size"},
    LowLimit{RLIMIT_NOFILE, 64, "open files"},
    LowLimit{RLIMIT_NPROC, 64, "processes"},
};

constexpr rlim_t kPage = 4096;

/// As ann could start it, who keeps her pictures in a folder that `csc` empties, for each kind of task.
TEST_F(StageHardeningTest, NoTaskIsStartedUnderAHardLimitThatIsTooLow) {
    const Strings caches = namesIn("/Library/Caches");
    recordShell();
    for (const LowLimit& low : kLowLimits) {
        for (const Strings& words : {Strings{"csc"}, Strings{"feat"}, Strings{"repairPermissions"}}) {
            Start start;
            start.words = words;
            start.asRoot = cannotRaiseHardLimits;
            start.beforeExec = [&] {
                const rlim_t less = low.lowest < kPage ? 1 : kPage;
                const rlim_t tooLow = low.lowest == RLIM_INFINITY ? 1U << 30U : low.lowest - less;
                lower(low.resource, tooLow, tooLow);
            };
            const Result result = run(start);
            EXPECT_EQ(result.exitCode(), 1) << low.text << " signal " << result.signal();
            EXPECT_EQ(result.output, "");
            EXPECT_TRUE(result.errors.ends_with(std::string("] Command-line tool: the caller's limit of ") + low.text +
                                                " is too low and cannot be raised, nothing was run\n"))
                << low.text << result.errors;
            EXPECT_EQ(lines(result.errors).size(), 1U) << result.errors;
        }
    }
    EXPECT_TRUE(recorded().empty());
    EXPECT_EQ(namesIn("/Library/Caches"), caches);
    EXPECT_TRUE(exists("/Users/ann/.Trash/Old draft.txt"));
}

TEST_F(StageHardeningTest, ATaskIsStartedUnderTheLowestHardLimits) {
    Start start;
    start.asRoot = cannotRaiseHardLimits;
    start.beforeExec = [] {
        for (const LowLimit& low : kLowLimits) {
            lower(low.resource, low.lowest, low.lowest);
        }
    };
    const Recorded seen = recordedRun(start);
    for (const LowLimit& low : kLowLimits) {
        EXPECT_EQ(seen.limits.at(low.resource).rlim_cur, low.lowest) << low.text;
        EXPECT_EQ(seen.limits.at(low.resource).rlim_max, low.lowest) << low.text;
    }
}

/// The line of the refusal may itself be more than the limit allows.
TEST_F(StageHardeningTest, ARefusalThatCannotBeWrittenIsStillOne) {
    Start start;
    start.words = {"csc"};
    start.asRoot = [] {
        cannotRaiseHardLimits();
        ::dup2(::open("/stage/errors", O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDERR_FILENO);
    };
    start.beforeExec = [] { lower(RLIMIT_FSIZE, 0, 0); };
    const Result result = run(start);
    EXPECT_EQ(result.exitCode(), 1) << "signal " << result.signal();
    EXPECT_EQ(status("/stage/errors").st_size, 0);
    EXPECT_TRUE(exists("/Library/Caches/ann_pictureCache.tiff"));
}

TEST_F(StageHardeningTest, WhatRunsNoTaskNeedsNoLimit) {
    const auto runLimited = [](const Strings& words) {
        Start start;
        start.words = words;
        start.asRoot = cannotRaiseHardLimits;
        start.beforeExec = [] {
            lower(RLIMIT_FSIZE, 0, 0);
            lower(RLIMIT_NOFILE, 16, 16);
        };
        return run(start).exitCode();
    };
    EXPECT_EQ(runLimited({}), 0);
    EXPECT_EQ(runLimited({"noSuchTask"}), 255);
    EXPECT_EQ(runLimited({"surrenderPriviliges"}), 0);
    EXPECT_EQ(modeOf(kTool), 0500U);
    EXPECT_EQ(status(kTool).st_uid, kAnn);
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
    const auto folder = [] {
        ::unlink("/stage/record");
        return recordedRun({}).folder;
    };
    EXPECT_EQ(folder(), "/private/var/empty");
    for (const mode_t mode : {0775U, 0757U, 0777U}) {
        ASSERT_EQ(::chmod("/var/empty", mode), 0);
        EXPECT_EQ(folder(), "/") << std::oct << mode;
    }
    ASSERT_EQ(::chmod("/var/empty", 0755), 0);
    ASSERT_EQ(::chown("/var/empty", kAnn, 0), 0);
    EXPECT_EQ(folder(), "/") << "somebody else's";
    ASSERT_EQ(::rmdir("/var/empty"), 0);
    EXPECT_EQ(folder(), "/");
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
        lower(RLIMIT_NOFILE, 40, 200);
        lower(RLIMIT_FSIZE, 1U << 20U, 1U << 21U);
    };
    const Recorded seen = recordedRun(start);
    EXPECT_EQ(seen.environment, *start.environment);
    EXPECT_EQ(seen.descriptors.count(17), 1U);
    EXPECT_EQ(seen.ignoredSignals, (std::vector<int>{SIGUSR1}));
    EXPECT_EQ(seen.mask, 077U);
    EXPECT_EQ(seen.folder, "/private/var/root/work");
    EXPECT_EQ(seen.limits.at(RLIMIT_NOFILE).rlim_cur, 40U) << "too low for another caller";
    EXPECT_EQ(seen.limits.at(RLIMIT_NOFILE).rlim_max, 200U);
    EXPECT_EQ(seen.limits.at(RLIMIT_FSIZE).rlim_cur, 1U << 20U);
    EXPECT_EQ(seen.limits.at(RLIMIT_FSIZE).rlim_max, 1U << 21U);
}

TEST_F(StageHardeningTest, RootsOwnArgumentIsHisOwnAffair) {
    recordShell();
    EXPECT_EQ(runTool(kRoot, {"secureEraseFreeSpace", "/Volumes/$x"}).exitCode(), 0);
    ASSERT_EQ(recorded().size(), 1U);
    EXPECT_NE(recorded()[0].words.back().find("of=\"/Volumes/$x/secure-erase.temp\""), std::string::npos);
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
