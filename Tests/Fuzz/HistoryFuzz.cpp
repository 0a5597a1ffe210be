// The file of what was run, whatever somebody has made of it: a line that is no record is skipped, all others can be
// shown, and nothing gets to the terminal that does more than stand there.

#include "Terminal/Commands.h"
#include "Terminal/Json.h"
#include "Terminal/Session.h"
#include "Tests/Fuzz/Fuzz.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace orvane;

namespace {

/// A folder with nothing but the file in it, and what the command prints.
class Home {
  public:
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    Home() {
        FUZZ_CHECK(::mkdtemp(home_.data()) != nullptr);
        ::setenv("XDG_STATE_HOME", home_.c_str(), 1);
        const std::string folder = home_ + "/orvane";
        FUZZ_CHECK(::mkdir(folder.c_str(), 0700) == 0);
        file_ = ::open((folder + "/history.jsonl").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        output_ = ::memfd_create("output", MFD_CLOEXEC);
        FUZZ_CHECK(file_ >= 0 && output_ >= 0);
    }

    ~Home() {
        for (const char* const name : {"/orvane/history.jsonl", "/orvane", ""}) {
            static_cast<void>(std::remove((home_ + name).c_str()));
        }
    }

    void setHistory(std::string_view bytes) const {
        FUZZ_CHECK(::ftruncate(file_, 0) == 0);
        FUZZ_CHECK(::pwrite(file_, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
    }

    /// What `orvane history` prints.
    [[nodiscard]] std::string shown(bool items, bool json) const {
        const int saved[] = {::dup(1), ::dup(2)};
        FUZZ_CHECK(::ftruncate(output_, 0) == 0 && ::lseek(output_, 0, SEEK_SET) == 0);
        ::dup2(output_, 1);
        ::dup2(output_, 2);
        terminal::Session session;
        session.command = "history";
        session.json = json;
        const int status = terminal::showHistory(session, 10, items);
        session.console.flush();
        for (const int descriptor : {1, 2}) {
            ::dup2(saved[descriptor - 1], descriptor);
            ::close(saved[descriptor - 1]);
        }
        FUZZ_CHECK(status == terminal::kDone);
        std::string text(static_cast<std::size_t>(::lseek(output_, 0, SEEK_END)), 0);
        FUZZ_CHECK(::pread(output_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
        return text;
    }

  private:
    std::string home_ = "/tmp/orvane-fuzz-XXXXXX";
    int file_ = -1;
    int output_ = -1;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Home home;
    home.setHistory(fuzz::bytes(data, size));
    for (const bool items : {false, true}) {
        const std::string text = home.shown(items, false);
        FUZZ_CHECK(fuzz::isText(text));
        FUZZ_CHECK(std::all_of(text.begin(), text.end(),
                               [](char c) { return c < 0 || (c >= 0x20 && c != 0x7F) || c == '\n'; }));
    }
    const std::string json = home.shown(false, true);
    const auto answer = terminal::Json::parse(json.substr(0, json.find('\n')));
    FUZZ_CHECK(answer["runs"].is_array());
    for (const auto& run : answer["runs"]) {
        FUZZ_CHECK(run["run"].is_string() && run["outcome"].is_string() && run["tasks"].is_array());
        FUZZ_CHECK(run["started"].get<std::string>().size() == sizeof "1970-01-01T00:00:00Z" - 1);
        for (const auto& item : run["items"]) {
            FUZZ_CHECK(item["path"].is_string() && item["bytes"].is_number_unsigned());
        }
    }
    return 0;
}
