#include "Tests/TaskRunnerTestSupport.h"

#include <cstdio>

namespace orvane {
namespace {

const std::string kSource = ORVANE_SOURCE_DIR "/Tests/Examples/EmbeddingExample.cpp";
const std::string kPage = ORVANE_SOURCE_DIR "/Documentation/Embedding.md";

TEST(EmbeddingExample, IsTheOneOnThePage) {
    const std::string page = test::contentsOf(kPage);
    const std::string example = test::contentsOf(kSource);
    ASSERT_FALSE(example.empty());
    EXPECT_NE(page.find("```cpp\n" + example + "```\n"), std::string::npos);
}

TEST(EmbeddingExample, PrintsWhatThePageSays) {
    FILE* const pipe = ::popen("LC_ALL=C \"" ORVANE_EMBEDDING_EXAMPLE "\"", "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    std::array<char, 256> buffer = {};
    std::size_t count = 0;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) {
        output.append(buffer.data(), count);
    }
    EXPECT_EQ(::pclose(pipe), 0);
    EXPECT_TRUE(output.starts_with("Hello from a task\nstatus 0\n")) << output;
    EXPECT_NE(output.find("/no such folder"), std::string::npos) << output;
    EXPECT_TRUE(output.ends_with("status 1\nstatus 2\nstatus 2\n")) << output;
    EXPECT_EQ(output.find("never"), std::string::npos) << output;
}

} // namespace
} // namespace orvane
