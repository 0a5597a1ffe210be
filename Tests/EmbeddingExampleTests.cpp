#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <cstdio>
#include <sys/wait.h>

namespace orvane {
namespace {

const std::string kExamples = ORVANE_SOURCE_DIR "/Tests/Examples/";
const std::string kPage = ORVANE_SOURCE_DIR "/Documentation/Embedding.md";

/// What the program prints, and its status.
std::pair<std::string, int> outcome(const std::string& line) {
    FILE* const pipe = ::popen(line.c_str(), "r");
    if (pipe == nullptr) {
        ADD_FAILURE() << line;
        return {};
    }
    std::string output;
    std::array<char, 256> buffer = {};
    std::size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) {
        output.append(buffer.data(), count);
    }
    const int status = ::pclose(pipe);
    return {output, WEXITSTATUS(status)};
}

TEST(EmbeddingExample, AreThoseOnThePage) {
    const std::string page = test::contentsOf(kPage);
    for (const char* const name : {"EmbeddingExample.cpp", "ClientExample.cpp", "PlanExample.cpp"}) {
        const std::string example = test::contentsOf(kExamples + name);
        ASSERT_FALSE(example.empty());
        EXPECT_NE(page.find("```cpp\n" + example + "```\n"), std::string::npos) << name;
    }
    const std::string mark = "```objc\n";
    const std::size_t begin = page.find(mark);
    ASSERT_NE(begin, std::string::npos);
    const std::string part = page.substr(begin + mark.size(), page.find("```", begin + 1) - begin - mark.size());
    ASSERT_GT(part.size(), 100U);
    EXPECT_NE(test::contentsOf(ORVANE_SOURCE_DIR "/Examples/Host.m").find(part), std::string::npos) << part;
}

TEST(EmbeddingExample, PrintsWhatThePageSays) {
    const auto [output, status] = outcome("LC_ALL=C \"" ORVANE_EMBEDDING_EXAMPLE "\"");
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(output.starts_with("Hello from a task\nstatus 0\n")) << output;
    EXPECT_NE(output.find("/no such folder"), std::string::npos) << output;
    EXPECT_TRUE(output.ends_with("status 1\nstatus 2\nstatus 2\n")) << output;
    EXPECT_EQ(output.find("never"), std::string::npos) << output;
}

TEST(ClientExample, SaysWhatKeepsItFromRunningATask) {
    const test::Folder folder;
    const std::string program = "\"" ORVANE_CLIENT_EXAMPLE "\" ";
    const auto missing = outcome(program + folder.at("tool") + " flushDNS");
    EXPECT_EQ(missing.first, "There is no tool at " + folder.at("tool") + ".\n");
    EXPECT_EQ(missing.second, 77);
    const auto ordinary = outcome(program + folder.makeFile("tool") + " flushDNS");
    EXPECT_EQ(ordinary.first, "The tool may not work as root yet: sudo " + folder.at("tool") + " repairPriviliges\n");
    EXPECT_EQ(ordinary.second, 77);
}

TEST(ClientExample, RunsATask) {
    const test::Folder folder;
    const std::string tool = folder.makeFile("tool", "#!/bin/sh\necho \"the task $1\"; exit 3\n");
    if (::chmod(tool.c_str(), 04755) != 0 || ::geteuid() != 0 || SUIDRoot::isIgnoringSetUIDAtPath(tool.c_str())) {
        GTEST_SKIP() << "no file of root's can be made here that counts as set up";
    }
    const auto run = outcome("\"" ORVANE_CLIENT_EXAMPLE "\" " + tool + " flushDNS");
    EXPECT_EQ(run.first, "the task flushDNS\nstatus 3\n");
    EXPECT_EQ(run.second, 3);
}

TEST(PlanExample, PrintsWhatThePageSaysAndRemovesNothing) {
    const test::Folder folder;
    folder.makeFolder("folder");
    folder.makeFile("folder/file");
    folder.makeFile("\"quoted\"");
    const auto [output, status] =
        outcome("cd '" + folder.path + "' && \"" ORVANE_PLAN_EXAMPLE "\" '" + folder.at("folder") + "' '" +
                folder.at("\"quoted\"") + "' '" + folder.at("none") + "'");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(output, "goes: " + folder.at("folder") +
                          ", 2 files and folders\n"
                          "stays, because xargs makes something else of its name: " +
                          folder.at("\"quoted\"") + "\n1 items, 2 files and folders\n");
    std::string onPage = output;
    for (std::size_t at = 0; (at = onPage.find(folder.path)) != std::string::npos;) {
        onPage.replace(at, folder.path.size(), "/tmp");
    }
    onPage.insert(0, "    ");
    for (std::size_t at = 0; (at = onPage.find('\n', at)) + 1 < onPage.size(); ++at) {
        onPage.insert(at + 1, "    ");
    }
    EXPECT_NE(test::contentsOf(kPage).find("\n" + onPage), std::string::npos) << onPage;
    EXPECT_TRUE(test::exists(folder.at("folder/file")));
    const auto refused = outcome("\"" ORVANE_PLAN_EXAMPLE "\"");
    EXPECT_TRUE(refused.first.starts_with("There is no plan: ")) << refused.first;
    EXPECT_EQ(refused.second, 1);
}

} // namespace
} // namespace orvane
