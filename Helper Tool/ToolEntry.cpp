#include "Helper Tool/ToolEntry.h"

#include "Helper Tool/CallerEnvironment.h"
#include "Helper Tool/OrvaneTool.h"
#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Platform/Bundle.h"
#include "Platform/SystemCalls.h"
#include "Support/OVLog.h"
#include "Support/OVText.h"

#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

namespace {

constexpr std::string_view kRepairWord = "repairPriviliges";
constexpr std::string_view kSurrenderWord = "surrenderPriviliges";

[[noreturn]] void finish(int status) {
    std::exit(status); // NOLINT(concurrency-mt-unsafe): there is one thread
}

/// `stringWithUTF8String:` of one word; a word that is no text ends the process before anything is run for
/// it.
std::string textOfWord(const char* const argv[], int index) {
    std::string word = argv[index];
    if (!isValidUTF8(word)) {
        OVLog("Command-line tool: word %d of the command line is not valid UTF-8, nothing was run", index);
        finish(EXIT_FAILURE);
    }
    return word;
}

/// The running executable, as changes that must not be redirected to another file name it.
SUIDRoot::File ownExecutable(const std::optional<std::string>& path, const std::optional<std::string>& reference,
                             SystemCalls& calls) {
    if (!path) {
        return {nullptr};
    }
    if (reference) {
        return {path->c_str(), reference->c_str()};
    }
    // By name alone somebody else's folder could put another file in the executable's place. Without privileges the
    // change fails by itself.
    if (calls.getuid() != 0 && calls.geteuid() == 0) {
        OVLog("Command-line tool: the running executable cannot be told from its name, only root may change "
              "it");
        finish(EPERM);
    }
    return {path->c_str()};
}

} // namespace

void setupPriviliges(int argc, const char* const argv[]) {
    SystemCalls& calls = SystemCalls::platform();
    Bundle& bundle = Bundle::mainBundle();
    const std::optional<std::string> path = bundle.executablePath();
    const char* const pathText = path ? path->c_str() : "(null)"; // nil, as "%@" shows it
    // A caller may pass no words at all, not even the program's name.
    if (argc <= 1 || argv[1] == nullptr) {
        OVLog("effective user id: %d, actual user id: %d", static_cast<int>(calls.geteuid()),
              static_cast<int>(calls.getuid()));
        finish(EXIT_SUCCESS);
    }
    const std::string word = textOfWord(argv, 1);
    if (word == kRepairWord) {
        OVLog("Command-line tool: runMain: repairing priviliges for %s", pathText);
        const std::int32_t error =
            SUIDRoot::setSUIDRoot(ownExecutable(path, bundle.executableReference(), calls), calls);
        if (error != 0) {
            OVLog("Command-line tool: runMain: error %d repairing priviliges", error);
        }
        finish(error);
    }
    if (word == kSurrenderWord) {
        OVLog("Command-line tool: surrendering priviliges for %s", pathText);
        const std::int32_t error =
            SUIDRoot::surrenderSUIDRoot(ownExecutable(path, bundle.executableReference(), calls), calls);
        if (error != 0) {
            OVLog("Command-line tool: error %d surrendering priviliges", error);
        }
        finish(error);
    }
    if (calls.setuid(0) != 0) {
        // The real id first: the reverse of the other message, deliberately.
        OVLog("Command-line tool: setuid failed (user id: %d, effective user id: %d)", static_cast<int>(calls.getuid()),
              static_cast<int>(calls.geteuid()));
        finish(EXIT_FAILURE);
    }
}

std::int32_t toolMain(int argc, const char* const argv[], uid_t realUserID) {
    setupPriviliges(argc, argv);
    std::vector<std::string> words;
    for (int index = 1; index < argc && argv[index] != nullptr; ++index) {
        words.push_back(textOfWord(argv, index));
    }
    const std::string taskName = words.front();
    const std::vector<std::string> arguments(words.begin() + 1, words.end());
    if (!arguments.empty() && isRefusedShellArgument(taskName, arguments.front(), realUserID)) {
        OVLog("Command-line tool: %s: the argument holds a character that a root shell would act on, nothing "
              "was run",
              taskName.c_str());
        return EXIT_FAILURE;
    }
    if (OrvaneTool::knowsTask(taskName)) {
        addCallersAccount(realUserID);
    }
    OrvaneTool tool(SystemCalls::platform());
    return tool.runTask(taskName, arguments);
}

} // namespace orvane
