#include "Terminal/History.h"

#include "Platform/UserFolders.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane::terminal {

namespace {

bool makeFolders(const std::string& path) {
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        ::mkdir(path.substr(0, slash).c_str(), 0755);
    }
    return ::mkdir(path.c_str(), 0700) == 0 || errno == EEXIST;
}

/// The file, open to be added to and held by a lock that nobody else has; -1 with `errno` set.
int openLocked(const std::string& path) {
    while (true) {
        const int descriptor = ::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        struct stat held = {};
        struct stat named = {};
        if (descriptor < 0) {
            return -1;
        }
        if (::flock(descriptor, LOCK_EX) != 0 && errno == EINTR) {
            ::close(descriptor);
            continue;
        }
        // Another run may have put it away meanwhile.
        if (::fstat(descriptor, &held) == 0 && ::stat(path.c_str(), &named) == 0 && held.st_ino == named.st_ino) {
            return descriptor;
        }
        ::close(descriptor);
    }
}

/// A full disk may have cut the last record.
bool endsWithinALine(int descriptor) {
    const off_t end = ::lseek(descriptor, 0, SEEK_END);
    char last = '\n';
    return end > 0 && ::pread(descriptor, &last, 1, end - 1) == 1 && last != '\n';
}

/// 9999-12-31: later ones have no date that is written with four digits.
constexpr std::int64_t kLastTime = 253402300799;

bool has(const Json& object, const char* key, bool (Json::*is)() const noexcept) {
    const auto found = object.find(key);
    return found != object.end() && ((*found).*is)();
}

bool mayHave(const Json& object, const char* key, bool (Json::*is)() const noexcept) {
    return !object.contains(key) || has(object, key, is);
}

/// As `setBytes` makes it.
bool hasBytes(const Json& object, const std::string& key) {
    const auto hex = object.find(key + "Hex");
    return has(object, key.c_str(), &Json::is_string) &&
           (hex == object.end() || (hex->is_string() && hex->get_ref<const std::string&>().find_first_not_of(
                                                            "0123456789abcdef") == std::string::npos));
}

bool hasEach(const Json& object, const char* key, bool (*is)(const Json&)) {
    return has(object, key, &Json::is_array) && std::all_of(object[key].begin(), object[key].end(), is);
}

bool isTask(const Json& value) {
    const auto isArgument = [](const Json& argument) { return argument.is_object() && hasBytes(argument, "text"); };
    return value.is_object() && has(value, "name", &Json::is_string) && hasEach(value, "arguments", isArgument);
}

bool isItem(const Json& value) {
    return value.is_object() && hasBytes(value, "path") && has(value, "bytes", &Json::is_number_unsigned) &&
           has(value, "outcome", &Json::is_string);
}

/// A record of this version, all that is read of it.
bool isRecord(const Json& value) {
    if (!value.is_object() || !has(value, "event", &Json::is_string) || !has(value, "run", &Json::is_string) ||
        !has(value, "time", &Json::is_number_integer)) {
        return false;
    }
    if (const auto time = value["time"].get<std::int64_t>(); time < 0 || time > kLastTime) {
        return false;
    }
    return value["event"] == "start"
               ? hasEach(value, "tasks", isTask) && has(value, "pid", &Json::is_number_integer) &&
                     mayHave(value, "processStarted", &Json::is_number_unsigned)
               : value["event"] == "end" && has(value, "outcome", &Json::is_string) &&
                     has(value, "exitStatus", &Json::is_number_integer) &&
                     has(value, "freedBytes", &Json::is_number_integer) && hasEach(value, "items", isItem) &&
                     mayHave(value, "itemsOmitted", &Json::is_number_unsigned) &&
                     mayHave(value, "seconds", &Json::is_number);
}

void readFile(const std::string& path, std::vector<History::Run>& runs, std::uint64_t& damaged) {
    std::ifstream in(path, std::ios::binary);
    for (std::string line; std::getline(in, line);) {
        Json record = Json::parse(line, nullptr, false);
        if (!isRecord(record)) {
            ++damaged;
        } else if (record["event"] == "start") {
            runs.push_back({std::move(record), Json()});
        } else {
            const auto started = std::find_if(runs.rbegin(), runs.rend(), [&record](const History::Run& run) {
                return run.start["run"] == record["run"];
            });
            if (started != runs.rend()) {
                started->end = std::move(record);
            }
        }
    }
}

} // namespace

History History::ofUser() {
    return History(UserFolders::platform().recordFolder("Orvane"));
}

int History::add(const Json& record) const {
    if (!folder_) {
        return ENOENT;
    }
    if (!makeFolders(*folder_)) {
        return errno;
    }
    int descriptor = openLocked(path());
    const std::string line = lineOf(record) + "\n";
    struct stat status = {};
    if (descriptor >= 0 && ::fstat(descriptor, &status) == 0 && status.st_size > 0 &&
        static_cast<std::uint64_t>(status.st_size) + line.size() > mostBytes_) {
        static_cast<void>(std::rename(path().c_str(), olderPath().c_str())); // else it grows on
        ::close(descriptor);
        descriptor = openLocked(path());
    }
    if (descriptor < 0) {
        return errno;
    }
    const std::string whole = endsWithinALine(descriptor) ? "\n" + line : line;
    const ssize_t written = ::write(descriptor, whole.data(), whole.size());
    const int error = written == static_cast<ssize_t>(whole.size()) ? 0 : written < 0 ? errno : ENOSPC;
    ::close(descriptor);
    return error;
}

History::Content History::read(std::size_t most) const {
    Content content;
    if (folder_) {
        readFile(olderPath(), content.runs, content.damaged);
        readFile(path(), content.runs, content.damaged);
        std::reverse(content.runs.begin(), content.runs.end());
        content.runs.resize(std::min(content.runs.size(), most));
    }
    return content;
}

} // namespace orvane::terminal
