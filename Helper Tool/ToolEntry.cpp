#include "Helper Tool/ToolEntry.h"

#include "Helper Tool/CallerEnvironment.h"
#include "Helper Tool/OrvaneTool.h"
#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Platform/Executable.h"
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

/// The tool's own executable: asked for where it is needed, because the kernel's answer costs a task more than all else
/// that it does before it runs.
class OwnExecutable {
  public:
    OwnExecutable()
        : path_(Executable::current().executablePath()), reference_(Executable::current().executableReference()) {}

    /// The path as a message shows it, a missing one as "%@" shows nil.
    [[nodiscard]] const char* text() const { return path_ ? path_->c_str() : "(null)"; }

    /// The file as changes that must not be redirected to another one name it.
    [[nodiscard]] SUIDRoot::File file(SystemCalls& calls) const {
        if (!path_) {
            return {nullptr};
        }
        if (reference_) {
            return {path_->c_str(), reference_->c_str()};
        }
        // By name alone somebody else's folder could put another file in the executable's place. Without privileges the
        // change fails by itself.
        if (calls.getuid() != 0 && calls.geteuid() == 0) {
            OVLog("Command-line tool: the running executable cannot be told from its name, only root may change it");
            finish(EPERM);
        }
        return {path_->c_str()};
    }

  private:
    std::optional<std::string> path_;
    std::optional<std::string> reference_;
};

} // namespace

void setupPriviliges(int argc, const char* const argv[]) {
    SystemCalls& calls = SystemCalls::platform();
    // A caller may pass no words at all, not even the program's name.
    if (argc <= 1 || argv[1] == nullptr) {
        OVLog("effective user id: %d, actual user id: %d", static_cast<int>(calls.geteuid()),
              static_cast<int>(calls.getuid()));
        finish(EXIT_SUCCESS);
    }
    const std::string word = textOfWord(argv, 1);
    if (word == kRepairWord) {
        const OwnExecutable executable;
        OVLog("Command-line tool: runMain: repairing priviliges for %s", executable.text());
        const std::int32_t error = SUIDRoot::setSUIDRoot(executable.file(calls), calls);
        if (error != 0) {
            OVLog("Command-line tool: runMain: error %d repairing priviliges", error);
        }
        finish(error);
    }
    if (word == kSurrenderWord) {
        const OwnExecutable executable;
        OVLog("Command-line tool: surrendering priviliges for %s", executable.text());
        const std::int32_t error = SUIDRoot::surrenderSUIDRoot(executable.file(calls), calls);
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
    const std::string taskName = argv[1]; // it was read as text above
    std::vector<std::string> arguments;
    for (int index = 2; index < argc && argv[index] != nullptr; ++index) {
        arguments.push_back(textOfWord(argv, index));
    }
    if (!arguments.empty() && isRefusedShellArgument(taskName, arguments.front(), realUserID)) {
        OVLog("Command-line tool: %s: the argument holds a character that a root shell would act on, nothing "
              "was run",
              taskName.c_str());
        return EXIT_FAILURE;
    }
    if (OrvaneTool::knowsTask(taskName)) {
        prepareForTask(realUserID);
    }
    OrvaneTool tool(SystemCalls::platform());
    return tool.runTask(taskName, arguments);
}

} // namespace orvane
