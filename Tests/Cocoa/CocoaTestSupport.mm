#include "Tests/Cocoa/CocoaTestSupport.h"

#import <Foundation/Foundation.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <variant>

namespace orvane::test {

namespace {

std::string describeValue(const PropertyListValue& value);

struct Describer {
    std::string operator()(bool held) const { return held ? "yes" : "no"; }
    std::string operator()(std::int64_t held) const { return "integer " + std::to_string(held); }
    std::string operator()(std::uint64_t held) const { return "unsigned " + std::to_string(held); }
    std::string operator()(double held) const {
        std::ostringstream text;
        text << "real " << std::hexfloat << held;
        return text.str();
    }
    std::string operator()(const std::string& held) const { return "string " + held; }
    std::string operator()(const PropertyListData& held) const {
        std::string text = "data";
        for (const std::uint8_t byte : held) {
            text += " " + std::to_string(byte);
        }
        return text;
    }
    std::string operator()(const PropertyListDate& held) const {
        return "date " + std::to_string(held.secondsSinceReferenceDate);
    }
    std::string operator()(const PropertyListArray& held) const {
        std::string text = "[";
        for (const PropertyListValue& value : held) {
            text += describeValue(value) + ", ";
        }
        return text + "]";
    }
    std::string operator()(const PropertyListDictionary& held) const {
        std::string text = "{";
        for (const auto& [key, value] : held) {
            text += key + ": " + describeValue(value) + ", ";
        }
        return text + "}";
    }
};

std::string describeValue(const PropertyListValue& value) {
    return std::visit(Describer(), static_cast<const PropertyListValue::variant&>(value));
}

} // namespace

std::string describe(const PropertyListDictionary& dictionary) {
    std::string text;
    for (const auto& [key, value] : dictionary) {
        text += key + " = " + describeValue(value) + "\n";
    }
    return text;
}

Ended runProgram(const std::string& program, const Words& arguments, const Variables& variables) {
    Ended ended;
    int ends[2] = {-1, -1};
    if (::pipe(ends) != 0) {
        return ended;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        for (const auto& [name, value] : variables) {
            ::setenv(name.c_str(), value.c_str(), 1);
        }
        std::vector<char*> words = {const_cast<char*>(program.c_str())};
        for (const std::string& argument : arguments) {
            words.push_back(const_cast<char*>(argument.c_str()));
        }
        words.push_back(nullptr);
        ::execv(program.c_str(), words.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    char buffer[4096];
    ssize_t count = 0;
    while ((count = ::read(ends[0], buffer, sizeof buffer)) > 0) {
        ended.output.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(ends[0]);
    int status = 0;
    if (child > 0 && ::waitpid(child, &status, 0) == child && WIFEXITED(status)) {
        ended.status = WEXITSTATUS(status);
    }
    return ended;
}

std::string probePath() {
    return ORVANE_COCOA_PROBE;
}

Ended runProbe(const Words& arguments, const Variables& variables) {
    return runProgram(probePath(), arguments, variables);
}

bool runLoopUntil(const std::function<bool()>& condition) {
    @autoreleasepool {
        NSDate* limit = [NSDate dateWithTimeIntervalSinceNow:10];
        while (!condition()) {
            if ([limit timeIntervalSinceNow] < 0) {
                return false;
            }
            [[NSRunLoop currentRunLoop] runUntilDate:[NSDate dateWithTimeIntervalSinceNow:0.02]];
        }
        return true;
    }
}

TemporaryFolder::TemporaryFolder() {
    const char* parent = std::getenv("TMPDIR");
    path_ = std::string(parent != nullptr ? parent : "/tmp") + "/cocoa-tests.XXXXXX";
    if (::mkdtemp(path_.data()) == nullptr) {
        std::abort();
    }
}

TemporaryFolder::~TemporaryFolder() {
    @autoreleasepool {
        [[NSFileManager defaultManager] removeItemAtPath:[NSString stringWithUTF8String:path_.c_str()] error:nullptr];
    }
}

std::string TemporaryFolder::write(const std::string& name, const std::string& text) const {
    std::string path = path_ + "/" + name;
    for (std::size_t slash = path.find('/', path_.size() + 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        ::mkdir(path.substr(0, slash).c_str(), 0755);
    }
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::string TemporaryFolder::contents(const std::string& name) const {
    std::ifstream file(path_ + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string TemporaryFolder::copyProbe(const std::string& name) const {
    std::ifstream program(probePath(), std::ios::binary);
    std::string executable = write(name, std::string(std::istreambuf_iterator<char>(program), {}));
    ::chmod(executable.c_str(), 0755);
    return executable;
}

std::string TemporaryFolder::makeApplication(const std::string& name, const std::string& informationLines) const {
    const std::string application = name + ".app";
    write(application + "/Resources/Info-gnustep.plist",
          "{ NSExecutable = \"" + name + "\"; " + informationLines + " }");
    static_cast<void>(copyProbe(application + "/" + name));
    return path_ + "/" + application;
}

} // namespace orvane::test
