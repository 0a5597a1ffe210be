#include "Helper Tool/ToolEntry.h"

#include "Helper Tool/CallerEnvironment.h"
#include "Helper Tool/OrvaneTool.h"
#include "Helper Tool/OwnExecutable.h"
#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Platform/SystemCalls.h"
#include "Support/OVLog.h"
#include "Support/OVText.h"

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

namespace {

[[noreturn]] void finish(int status) {
    std::exit(status); // NOLINT(concurrency-mt-unsafe): there is one thread
}

/// `stringWithUTF8String:` of one word; a word that is no text ends the process before anything is run for it.
std::string textOfWord(const char* const argv[], int index) {
    std::string word = argv[index];
    if (!isValidUTF8(word)) {
        OVLog("Command-line tool: word %d of the command line is not valid UTF-8, nothing was run", index);
        finish(EXIT_FAILURE);
    }
    return word;
}

/// A path as a message shows it, a missing one as "%@" shows nil.
const char* shown(const char* path) {
    return path != nullptr ? path : "(null)";
}

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
    if (word == "repairPriviliges") {
        OwnExecutable executable(calls); // only here: a task would pay for the look-up
        OVLog("Command-line tool: runMain: repairing priviliges for %s", shown(executable.path()));
        const std::int32_t error = SUIDRoot::setSUIDRoot(executable, calls);
        if (error != 0) {
            OVLog("Command-line tool: runMain: error %d repairing priviliges", error);
        }
        finish(error);
    }
    if (word == "surrenderPriviliges") {
        OwnExecutable executable(calls); // only here: a task would pay for the look-up
        OVLog("Command-line tool: surrendering priviliges for %s", shown(executable.path()));
        const std::int32_t error = SUIDRoot::surrenderSUIDRoot(executable, calls);
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
    const std::optional<TaskInput> input = OrvaneTool::inputOfTask(taskName);
    if (realUserID != 0 && input == TaskInput::shellText && !arguments.empty() &&
        holdsShellCharacter(arguments.front())) {
        OVLog("Command-line tool: %s: the argument holds a character that a root shell would act on, nothing was run",
              taskName.c_str());
        return EXIT_FAILURE;
    }
    if (input) {
        prepareForTask(realUserID);
    }
    if (input == TaskInput::names && !enterEmptyFolder()) {
        OVLog("Command-line tool: %s: there is no empty folder of root's to work in, nothing was run",
              taskName.c_str());
        return EXIT_FAILURE;
    }
    return OrvaneTool().runTask(taskName, arguments);
}

} // namespace orvane
