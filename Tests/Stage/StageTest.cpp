#include "Tests/Stage/StageTest.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <glob.h>
#include <grp.h>
#include <iostream>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration)

namespace orvane::stage {

namespace {

constexpr const char* kMarker = "/.orvane-stage";
constexpr const char* kRecord = "/stage/record";

std::string program; ///< this one, as the stage started it

constexpr std::array<int, 8> kResources = {RLIMIT_CORE, RLIMIT_FSIZE, RLIMIT_CPU,    RLIMIT_DATA,
                                           RLIMIT_AS,   RLIMIT_NPROC, RLIMIT_NOFILE, RLIMIT_STACK};

Strings loginEnvironment(uid_t user) {
    const std::string name = user == kAnn ? "ann" : user == kBob ? "bob" : "root";
    const std::string home = user == kRoot ? "/var/root" : "/Users/" + name;
    return {"PATH=/usr/bin:/bin:/usr/sbin:/sbin", "HOME=" + home, "USER=" + name, "LOGNAME=" + name, "LANG=C.UTF-8"};
}

std::vector<char*> pointers(const Strings& strings) {
    std::vector<char*> result;
    for (const std::string& text : strings) {
        result.push_back(const_cast<char*>(text.c_str()));
    }
    result.push_back(nullptr);
    return result;
}

[[noreturn]] void becomeAndExec(const Start& start) {
    // A fresh process: nothing of the test runner's own state.
    for (int number = 1; number < NSIG; ++number) {
        std::signal(number, SIG_DFL);
    }
    start.asRoot();
    if (start.user != kRoot) {
        const gid_t group = kStaff;
        if (::setgroups(1, &group) != 0 || ::setgid(group) != 0 || ::setuid(start.user) != 0) {
            ::_exit(125);
        }
    }
    Strings words = {start.path};
    words.insert(words.end(), start.words.begin(), start.words.end());
    const Strings vector = start.argumentVector.value_or(words);
    const Strings environment = start.environment.value_or(loginEnvironment(start.user));
    const auto vectorPointers = pointers(vector);
    const auto environmentPointers = pointers(environment);
    start.beforeExec();
    ::execve(start.path.c_str(), vectorPointers.data(), environmentPointers.data());
    ::_exit(errno == EACCES ? 126 : 127);
}

/// Without /proc, which not every stage has.
void record(int argc, char* argv[]) {
    std::ostringstream out;
    for (int index = 0; index < argc; ++index) {
        out << "word" << '\0' << argv[index] << '\0';
    }
    for (char** entry = environ; *entry != nullptr; ++entry) {
        out << "environment" << '\0' << *entry << '\0';
    }
    struct stat null = {};
    ::stat("/dev/null", &null);
    for (int number = 0; number < 4096; ++number) {
        struct stat open = {};
        if (::fstat(number, &open) == 0) {
            const bool isNull = S_ISCHR(open.st_mode) && open.st_rdev == null.st_rdev;
            out << "descriptor" << '\0' << number << ' ' << (isNull ? "/dev/null" : "another file") << '\0';
        }
    }
    for (const int resource : kResources) {
        rlimit limit = {};
        ::getrlimit(static_cast<__rlimit_resource>(resource), &limit);
        out << "limit" << '\0' << resource << ' ' << limit.rlim_cur << ' ' << limit.rlim_max << '\0';
    }
    sigset_t blocked;
    ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action = {};
        if (::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
            out << "ignored" << '\0' << number << '\0';
        }
        if (::sigismember(&blocked, number) == 1) {
            out << "blocked" << '\0' << number << '\0';
        }
    }
    uid_t real = 0;
    uid_t effective = 0;
    uid_t saved = 0;
    ::getresuid(&real, &effective, &saved);
    out << "users" << '\0' << real << ' ' << effective << ' ' << saved << '\0';
    const mode_t mask = ::umask(0);
    std::array<char, 4096> folderName = {};
    out << "mask" << '\0' << mask << '\0' << "folder" << '\0' << ::getcwd(folderName.data(), folderName.size()) << '\0';
    out << "end" << '\0' << '\0';
    std::ofstream(kRecord, std::ios::app | std::ios::binary) << out.str();
}

} // namespace

int Result::exitCode() const {
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1;
}

int Result::signal() const {
    return WIFSIGNALED(waitStatus) ? WTERMSIG(waitStatus) : 0;
}

Result run(const Start& start) {
    std::array<int, 2> output = {};
    std::array<int, 2> errors = {};
    std::array<int, 2> input = {};
    if (::pipe2(output.data(), O_CLOEXEC) != 0 || ::pipe2(errors.data(), O_CLOEXEC) != 0 ||
        ::pipe2(input.data(), O_CLOEXEC) != 0) {
        ADD_FAILURE() << "pipe: " << std::strerror(errno);
        return {};
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::dup2(errors[1], STDERR_FILENO);
        becomeAndExec(start);
    }
    ::close(output[1]);
    ::close(errors[1]);
    ::close(input[0]);
    EXPECT_EQ(::write(input[1], start.input.data(), start.input.size()), static_cast<ssize_t>(start.input.size()));
    ::close(input[1]);

    Result result;
    std::array<pollfd, 2> ends = {pollfd{output[0], POLLIN, 0}, pollfd{errors[0], POLLIN, 0}};
    const std::array<std::string*, 2> texts = {&result.output, &result.errors};
    while (ends[0].fd >= 0 || ends[1].fd >= 0) {
        if (::poll(ends.data(), ends.size(), -1) < 0) {
            continue;
        }
        for (std::size_t index = 0; index < ends.size(); ++index) {
            if (ends.at(index).fd < 0 || ends.at(index).revents == 0) {
                continue;
            }
            std::array<char, 4096> buffer = {};
            const ssize_t length = ::read(ends.at(index).fd, buffer.data(), buffer.size());
            if (length > 0) {
                texts.at(index)->append(buffer.data(), static_cast<std::size_t>(length));
            } else {
                ::close(ends.at(index).fd);
                ends.at(index).fd = -1;
            }
        }
    }
    while (::waitpid(child, &result.waitStatus, 0) < 0 && errno == EINTR) {
    }
    return result;
}

Result runTool(uid_t user, const Strings& words) {
    Start start;
    start.user = user;
    start.words = words;
    return run(start);
}

pid_t launch(const Start& start) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::dup2(null, descriptor);
        }
        becomeAndExec(start);
    }
    return child;
}

std::string capability(const std::string& key) {
    for (const std::string& line : lines(read("/stage/capabilities"))) {
        if (line == key + "=yes") {
            return "yes";
        }
        if (line.starts_with(key + "=")) {
            return line.substr(key.size() + 1);
        }
    }
    return "not told";
}

void write(const std::string& path, const std::string& content, uid_t owner, mode_t mode) {
    ::unlink(path.c_str()); // a running program cannot be written to
    std::ofstream(path, std::ios::binary) << content;
    EXPECT_EQ(::chown(path.c_str(), owner, owner == kRoot ? 0 : kStaff), 0) << path;
    EXPECT_EQ(::chmod(path.c_str(), mode), 0) << path;
}

std::string read(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool exists(const std::string& path) {
    struct stat result = {};
    return ::lstat(path.c_str(), &result) == 0;
}

struct stat status(const std::string& path) {
    struct stat result = {};
    EXPECT_EQ(::lstat(path.c_str(), &result), 0) << path << ": " << std::strerror(errno);
    return result;
}

mode_t modeOf(const std::string& path) {
    return status(path).st_mode & 07777U;
}

void makeFolder(const std::string& path, uid_t owner, mode_t mode) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        ::mkdir(path.substr(0, slash).c_str(), 0755);
    }
    if (::mkdir(path.c_str(), mode) == 0) {
        EXPECT_EQ(::chown(path.c_str(), owner, owner == kRoot ? 0 : kStaff), 0) << path;
        EXPECT_EQ(::chmod(path.c_str(), mode), 0) << path;
    }
}

Strings namesIn(const std::string& folder) {
    Strings names;
    for (const std::string& pattern : {folder + "/*", folder + "/.[!.]*"}) {
        for (const std::string& path : glob(pattern)) {
            names.push_back(path.substr(folder.size() + 1));
        }
    }
    return names;
}

Strings glob(const std::string& pattern) {
    Strings paths;
    glob_t found = {};
    if (::glob(pattern.c_str(), 0, nullptr, &found) == 0) {
        paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    ::globfree(&found);
    return paths;
}

Strings lines(const std::string& text) {
    Strings result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        result.push_back(line);
    }
    return result;
}

void recordShell() {
    ASSERT_EQ(::unlink("/bin/sh"), 0);
    ASSERT_EQ(::symlink(program.c_str(), "/bin/sh"), 0);
}

std::vector<Recorded> recorded() {
    std::vector<Recorded> all;
    Recorded one;
    std::istringstream in(read(kRecord));
    std::string key;
    std::string value;
    while (std::getline(in, key, '\0') && std::getline(in, value, '\0')) {
        std::istringstream fields(value);
        if (key == "word") {
            one.words.push_back(value);
        } else if (key == "environment") {
            one.environment.push_back(value);
        } else if (key == "descriptor") {
            int number = -1;
            fields >> number;
            one.descriptors[number] = value.substr(value.find(' ') + 1);
        } else if (key == "limit") {
            int resource = -1;
            rlimit limit = {};
            fields >> resource >> limit.rlim_cur >> limit.rlim_max;
            one.limits[resource] = limit;
        } else if (key == "blocked") {
            one.blockedSignals.push_back(std::stoi(value));
        } else if (key == "ignored") {
            one.ignoredSignals.push_back(std::stoi(value));
        } else if (key == "users") {
            for (std::string number; fields >> number;) {
                one.userIDs.push_back(number);
            }
        } else if (key == "mask") {
            fields >> one.mask;
        } else if (key == "folder") {
            one.folder = value;
        } else if (key == "end") {
            all.push_back(one);
            one = {};
        }
    }
    return all;
}

std::string withoutFrame(const std::string& output) {
    const ::testing::internal::RE date("[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9] "
                                       "([AP]M )?[A-Z]+ [0-9][0-9][0-9][0-9]");
    Strings all = lines(output);
    if (all.size() < 3 || !::testing::internal::RE::FullMatch(all.front(), date) ||
        !::testing::internal::RE::FullMatch(all.back(), date) || !all.at(all.size() - 2).empty()) {
        ADD_FAILURE() << "no date lines around the output:\n" << output;
        return output;
    }
    std::string inner;
    for (std::size_t index = 1; index + 2 < all.size(); ++index) {
        inner += all.at(index) + "\n";
    }
    return inner;
}

} // namespace orvane::stage

int main(int argc, char* argv[]) {
    using namespace orvane::stage;
    const bool listsOnly = argc == 2 && std::strcmp(argv[1], "--gtest_list_tests") == 0;
    if (!listsOnly && !exists(kMarker)) {
        std::cerr << "These tests change the root folder: they run on the stage only, by `Stage/stage exec`.\n";
        return 2;
    }
    const std::string name = argc > 0 ? argv[0] : "";
    if (name == "sh" || name == "/bin/sh") { // in the shell's place, see recordShell
        record(argc, argv);
        return 0;
    }
    program = name;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
