// `orvane clipboard`. The history is in the memory of `watch` alone; the others ask it by a socket in a folder of the
// user's, a line for the question and a line for the answer.

#include "Pasteboard/OVPasteboardServer.h"
#include "Platform/UserFolders.h"
#include "Platform/Workspace.h"
#include "Support/OVFile.h"
#include "Support/OVText.h"
#include "Terminal/Commands.h"
#include "Terminal/Interrupts.h"
#include "Terminal/PrivatePasteboard.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace orvane::terminal {

namespace {

constexpr int kPollMilliseconds = 250;
constexpr std::size_t kPreviewBytes = 200;

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            ::close(number_);
        }
    }
    [[nodiscard]] int number() const { return number_; }

  private:
    int number_;
};

void needPasteboard() {
    if (std::isinf(Workspace::platform().appKitVersionNumber())) {
        throw CommandError(kFailed, translated("This build has no clipboard: it was made without the system's "
                                               "frameworks."));
    }
}

sockaddr_un socketAddress() {
    const std::optional<std::string> folder = UserFolders::platform().recordFolder("Orvane");
    const std::string path = folder.value_or("") + "/clipboard";
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (!folder || path.size() >= sizeof address.sun_path) {
        throw CommandError(kFailed, translated("There is no folder for the clipboard's history."));
    }
    for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
        ::mkdir(path.substr(0, slash).c_str(), 0700);
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return address;
}

std::string readLine(int descriptor) {
    std::string line;
    char c = 0;
    while (::read(descriptor, &c, 1) == 1 && c != '\n') {
        line += c;
    }
    return line;
}

bool connectTo(int descriptor, const sockaddr_un& address) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): as sockets want it
    return ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

Json question(const std::string& words) {
    needPasteboard();
    const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    if (!connectTo(socket.number(), socketAddress())) {
        throw CommandError(kFailed, translated("The clipboard is not watched: `orvane clipboard watch` does that."));
    }
    auto* const onClosedPipe = std::signal(SIGPIPE, SIG_IGN); // the watcher may end before it is asked
    Console::write(socket.number(), words + "\n");
    static_cast<void>(std::signal(SIGPIPE, onClosedPipe));
    Json answer = Json::parse(readLine(socket.number()), nullptr, false);
    if (!answer.is_object()) {
        throw CommandError(kFailed, translated("The clipboard's history does not answer."));
    }
    return answer;
}

Json entryOf(const std::shared_ptr<Pasteboard>& pasteboard, std::size_t number) {
    Json entry = {{"number", number}, {"types", Json::array()}, {"bytes", 0}, {"text", Json()}};
    std::uint64_t bytes = 0;
    const auto items = pasteboard->pasteboardItems().value_or(PasteboardItems());
    for (const auto& item : items) {
        const auto types = item->types().value_or(std::vector<std::string>());
        for (const std::string& type : types) {
            entry["types"].push_back(shown(type));
            const auto data = item->dataForType(type).value_or(nullptr);
            if (data == nullptr) {
                continue;
            }
            bytes += data->bytes().size();
            if (entry["text"].is_null() && type == "public.utf8-plain-text") {
                setBytes(entry, "text", data->bytes().substr(0, kPreviewBytes));
            }
        }
    }
    entry["bytes"] = bytes;
    return entry;
}

Json answerTo(const std::string& words, OVPasteboardServer& server) {
    const auto& pasteboards = *server.pasteboards();
    if (words == "clear") {
        server.clearHistory();
        return {{"done", true}};
    }
    if (words.starts_with("restore ")) {
        const std::int32_t number = intValue(words.substr(8));
        if (number < 1 || static_cast<std::size_t>(number) > pasteboards.size()) {
            return {{"done", false}};
        }
        const auto chosen = pasteboards[static_cast<std::size_t>(number) - 1];
        return {{"done", server.restoreItemsFromPasteboard(chosen)}};
    }
    Json entries = Json::array();
    for (std::size_t i = 0; i < pasteboards.size(); ++i) {
        entries.push_back(entryOf(pasteboards[i], i + 1));
    }
    return {{"entries", entries}};
}

/// The history polls from the loop below.
class NoRunLoop final : public RunLoop {
  public:
    bool addRepeatingTimer(double /*seconds*/, std::function<void()> /*action*/) override { return true; }
};

} // namespace

int watchClipboard(Session& session) {
    needPasteboard();
    if (PasteboardService::platform().generalPasteboard() == nullptr) {
        throw CommandError(kFailed, translated("The system's clipboard cannot be reached."));
    }
    const sockaddr_un address = socketAddress();
    const Descriptor listener(::socket(AF_UNIX, SOCK_STREAM, 0));
    if (connectTo(Descriptor(::socket(AF_UNIX, SOCK_STREAM, 0)).number(), address)) {
        throw CommandError(kFailed, translated("The clipboard is being watched already."));
    }
    ::unlink(address.sun_path);
    const mode_t mask = ::umask(077);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): as sockets want it
    const int bound = ::bind(listener.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    const int error = errno;
    ::umask(mask);
    if (bound != 0 || ::listen(listener.number(), 4) != 0) {
        throw CommandError(kFailed,
                           translated("The clipboard's history cannot be reached: {}.", errorDescription(error)));
    }
    Interrupts::take();
    PrivatePasteboardService service(PasteboardService::platform());
    NoRunLoop noRunLoop;
    const auto server = OVPasteboardServer::create(service, noRunLoop);
    session.console.print(translated("The clipboard is watched until Ctrl-C."));
    session.console.flush();
    while (Interrupts::signal() == 0) {
        pollfd waiting = {listener.number(), POLLIN, 0};
        if (::poll(&waiting, 1, kPollMilliseconds) > 0) {
            const Descriptor client(::accept(listener.number(), nullptr, nullptr));
            Console::write(client.number(), lineOf(answerTo(readLine(client.number()), *server)) + "\n");
        }
        server->pollPasteboard();
    }
    ::unlink(address.sun_path);
    return Interrupts::signal() == SIGINT ? kDone : Interrupts::exitStatus();
}

int listClipboard(Session& session) {
    const Json answer = question("list");
    if (session.json) {
        session.answer(answer);
        return kDone;
    }
    for (const Json& entry : answer["entries"]) {
        const std::string text = entry["text"].is_null() ? translated("no text") : shown(bytesOf(entry, "text"));
        const std::string line = padded(std::to_string(entry.value("number", 0)), 3, true) + "  " +
                                 padded(bytesText(entry.value("bytes", std::uint64_t{0})), 10, true) + "  " + text;
        session.console.print(cut(line, Console::columns()));
    }
    return kDone;
}

int restoreClipboard(Session& session, std::size_t number) {
    const Json answer = question("restore " + std::to_string(number));
    if (session.json) {
        session.answer(answer);
    }
    if (!answer.value("done", false)) {
        throw CommandError(kFailed, translated("There is no entry {} that could be restored.", number));
    }
    return kDone;
}

int clearClipboard(Session& session) {
    const Json answer = question("clear");
    if (session.json) {
        session.answer(answer);
    }
    return kDone;
}

} // namespace orvane::terminal
