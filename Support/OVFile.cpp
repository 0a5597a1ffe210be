#include "Support/OVFile.h"

#include "Support/OVPath.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace orvane {

namespace {

/// Large enough that a write costs little beside its bytes, small beside any list worth buffering.
constexpr std::size_t kBufferSize = 65536;

/// How many names for the new file are tried: files of an earlier process with the same id may lie about.
constexpr int kNameAttempts = 100;

/// Keeps a write beyond the file-size limit from ending the process: the signal waits, and is taken back
/// unless somebody else had sent one before.
class FileSizeSignalBlocked {
  public:
    FileSizeSignalBlocked() {
        // Macros on some systems, hence no :: before them here and below.
        sigemptyset(&signal_);
        sigaddset(&signal_, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &signal_, &previous_);
        wasPending_ = isPending();
    }
    FileSizeSignalBlocked(const FileSizeSignalBlocked&) = delete;
    FileSizeSignalBlocked& operator=(const FileSizeSignalBlocked&) = delete;
    ~FileSizeSignalBlocked() {
        int taken = 0;
        if (!wasPending_ && isPending()) {
            ::sigwait(&signal_, &taken);
        }
        ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
    }

  private:
    static bool isPending() {
        sigset_t pending;
        sigemptyset(&pending);
        ::sigpending(&pending);
        return sigismember(&pending, SIGXFSZ) == 1;
    }

    sigset_t signal_;
    sigset_t previous_;
    bool wasPending_;
};

/// A short name, so that one as long as the system allows can still be written.
std::string newName() {
    static constinit std::atomic<unsigned> counter{0};
    std::array<char, 48> name = {};
    static_cast<void>(
        std::snprintf(name.data(), name.size(), ".orvane-%ld-%u", static_cast<long>(::getpid()), counter.fetch_add(1)));
    return name.data();
}

// There are two functions of the name strerror_r: one returns the text, the other whether it has written one.
[[maybe_unused]] std::string described(const char* text, const char* /*room*/) {
    return text;
}
[[maybe_unused]] std::string described(int error, const char* room) {
    return error == 0 ? std::string(room) : "Unknown error";
}

std::string folderOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string() : std::string(path.substr(0, slash + 1));
}

} // namespace

OVAtomicFile::OVAtomicFile(std::string path, mode_t mode, SystemCalls& calls)
    : calls_(calls), path_(std::move(path)), mode_(mode) {
    create();
}

OVAtomicFile::~OVAtomicFile() {
    fail(ECANCELED);
}

void OVAtomicFile::create() {
    const std::string folder = folderOf(path_);
    for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
        newPath_ = folder + newName();
        do {
            descriptor_ = calls_.open(newPath_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode_);
        } while (descriptor_ < 0 && errno == EINTR);
        if (descriptor_ >= 0) {
            exists_ = true;
            buffer_.reserve(kBufferSize);
            return;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    fail(errno);
}

void OVAtomicFile::append(std::string_view bytes) {
    while (error_ == 0 && !bytes.empty()) {
        const std::string_view part = bytes.substr(0, kBufferSize - buffer_.size());
        buffer_.append(part);
        bytes.remove_prefix(part.size());
        if (buffer_.size() == kBufferSize) {
            flush();
        }
    }
}

void OVAtomicFile::flush() {
    const FileSizeSignalBlocked blocked;
    std::string_view rest = buffer_;
    while (!rest.empty()) {
        const ssize_t written = calls_.write(descriptor_, rest.data(), rest.size());
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (written == 0) {
            fail(ENOSPC); // a file that takes nothing and gives no reason
            return;
        } else if (errno != EINTR) {
            fail(errno);
            return;
        }
    }
    buffer_.clear();
}

std::int32_t OVAtomicFile::commit() {
    if (error_ == 0) {
        flush();
    }
    int result = 0;
    if (error_ == 0) {
        do {
            result = calls_.fsync(descriptor_);
        } while (result != 0 && errno == EINTR);
        if (result != 0) {
            fail(errno);
        }
    }
    if (error_ == 0) {
        // An interrupted close has closed; a second one could hit a descriptor that another thread just got.
        if (calls_.close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) {
            fail(errno);
        }
    }
    if (error_ == 0) {
        if (calls_.rename(newPath_.c_str(), path_.c_str()) == 0) {
            exists_ = false;
        } else {
            fail(errno);
        }
    }
    return error_;
}

void OVAtomicFile::fail(std::int32_t error) {
    if (error_ == 0) {
        error_ = error;
    }
    if (descriptor_ >= 0) {
        calls_.close(std::exchange(descriptor_, -1));
    }
    if (std::exchange(exists_, false)) {
        calls_.unlink(newPath_.c_str());
    }
}

std::string errorDescription(std::int32_t error) {
    std::array<char, 256> room = {};
    return described(::strerror_r(error, room.data(), room.size()), room.data());
}

} // namespace orvane
