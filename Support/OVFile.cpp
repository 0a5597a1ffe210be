#include "Support/OVFile.h"

#include "Support/OVText.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace orvane {

namespace {

/// Large enough that a write costs little beside its bytes.
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
    return ".orvane-" + std::to_string(::getpid()) + '-' + std::to_string(counter.fetch_add(1));
}

template <typename Call> auto whileInterrupted(const Call& call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// Adds the file's bytes. Returns 0 or the `errno` of the call that failed.
std::int32_t readAll(const std::string& path, std::string& bytes, SystemCalls& calls) {
    const int file = whileInterrupted([&] { return calls.open(path.c_str(), O_RDONLY | O_CLOEXEC, 0); });
    if (file == -1) {
        return errno;
    }
    std::array<char, 4096> buffer = {};
    ssize_t count = 0;
    do {
        count = whileInterrupted([&] { return calls.read(file, buffer.data(), buffer.size()); });
        bytes.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    } while (count > 0);
    const std::int32_t error = count == 0 ? 0 : errno;
    calls.close(file);
    return error;
}

// There are two functions of the name strerror_r: one returns the text, the other whether it has written one.
[[maybe_unused]] std::string described(const char* text, const char* /*room*/) {
    return text;
}
[[maybe_unused]] std::string described(int error, const char* room) {
    return error == 0 ? room : "Unknown error";
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
    const std::string folder = path_.substr(0, path_.rfind('/') + 1); // "" without a slash
    for (int attempt = 0; attempt < kNameAttempts && descriptor_ == -1; ++attempt) {
        newPath_ = folder + newName();
        descriptor_ = whileInterrupted(
            [&] { return calls_.open(newPath_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode_); });
        if (descriptor_ == -1 && errno != EEXIST) {
            break;
        }
    }
    exists_ = descriptor_ != -1;
    if (!exists_) {
        fail(errno);
    }
}

void OVAtomicFile::append(std::string_view bytes) {
    if (error_ == 0) {
        buffer_.append(bytes);
        if (buffer_.size() >= kBufferSize) {
            flush();
        }
    }
}

void OVAtomicFile::flush() {
    const FileSizeSignalBlocked blocked;
    std::string_view rest = buffer_;
    while (error_ == 0 && !rest.empty()) {
        const ssize_t written = whileInterrupted([&] { return calls_.write(descriptor_, rest.data(), rest.size()); });
        if (written > 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else {
            fail(written == 0 ? ENOSPC : errno); // a file that takes nothing gives no reason
        }
    }
    buffer_.clear();
}

std::int32_t OVAtomicFile::commit() {
    flush();
    if (error_ == 0 && whileInterrupted([&] { return calls_.fsync(descriptor_); }) != 0) {
        fail(errno);
    }
    // An interrupted close has closed; a second one could hit a descriptor that another thread just got.
    if (error_ == 0 && calls_.close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) {
        fail(errno);
    }
    if (error_ == 0 && calls_.rename(newPath_.c_str(), path_.c_str()) != 0) {
        fail(errno);
    }
    exists_ = false; // ours no longer, or removed
    return error_;
}

void OVAtomicFile::fail(std::int32_t error) {
    if (error_ == 0) {
        error_ = error;
    }
    if (descriptor_ != -1) {
        calls_.close(std::exchange(descriptor_, -1));
    }
    if (std::exchange(exists_, false)) {
        calls_.unlink(newPath_.c_str());
    }
}

OVTextFile OVTextFile::read(const std::optional<std::string>& path, SystemCalls& calls) {
    std::string bytes;
    if (const std::int32_t error = path ? readAll(*path, bytes, calls) : ENOENT; error != 0) {
        return {.text = std::nullopt, .error = errorDescription(error)};
    }
    auto text = textFromData(bytes);
    return {.text = text, .error = text ? "" : "The text is in none of the encodings UTF-8, UTF-16 and UTF-32"};
}

std::string errorDescription(std::int32_t error) {
    std::array<char, 256> room = {};
    return described(::strerror_r(error, room.data(), room.size()), room.data());
}

} // namespace orvane
