// What is typed behind `orvane`: every word is a task's, an argument's, or refused with a sentence; and whatever can
// complete a word begins with it.

#include "Terminal/CommandLine.h"
#include "Terminal/Session.h"
#include "Tests/Fuzz/Fuzz.h"

using namespace orvane;
using namespace orvane::terminal;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> words;
    std::string_view rest = fuzz::bytes(data, size);
    while (!rest.empty() && words.size() < 16) {
        const std::size_t end = std::min(rest.find('\0'), rest.size());
        words.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    try {
        std::size_t used = 0;
        for (const Job& job : jobsOf(words)) {
            FUZZ_CHECK(words[used] == job.task->name);
            for (const std::string& argument : job.arguments) {
                FUZZ_CHECK(!argument.empty());
            }
            used += 1 + job.arguments.size();
        }
        FUZZ_CHECK(used == words.size());
    } catch (const CommandError& error) {
        FUZZ_CHECK(error.status() == kUsage && fuzz::isText(error.what()));
    }
    if (!words.empty()) {
        for (const auto& [word, meaning] : completionsOf(words)) {
            FUZZ_CHECK(word.starts_with(words.back()) && fuzz::isText(meaning));
        }
    }
    return 0;
}
