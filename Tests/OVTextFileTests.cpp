#include "Support/OVFile.h"

#include "Tests/TaskRunnerTestSupport.h"

namespace orvane {
namespace {

class TextFile : public ::testing::Test {
  protected:
    OVTextFile read(std::string_view contents) { return OVTextFile::read(folder.makeFile("file", contents), calls); }
    test::Folder folder;
    test::HookedCalls calls;
};

TEST_F(TextFile, IsReadWhole) {
    EXPECT_EQ(read("").text, "");
    EXPECT_EQ(read("text\n").text, "text\n");
    const std::string large(100001, 'x');
    EXPECT_EQ(read(large).text, large);
}

TEST_F(TextFile, IsReadInTheEncodingOfItsMark) {
    using namespace std::string_view_literals;
    EXPECT_EQ(read("\xEF\xBB\xBFü"sv).text, "ü");
    EXPECT_EQ(read("\xFF\xFE\xFC\0"sv).text, "ü");
    EXPECT_EQ(read("\0\0\xFE\xFF\0\0\0\xFC"sv).text, "ü");
}

TEST_F(TextFile, OfAnotherEncodingIsAnError) {
    const OVTextFile file = read("caf\xE9");
    EXPECT_EQ(file.text, std::nullopt);
    EXPECT_EQ(file.error, "The text is in none of the encodings UTF-8, UTF-16 and UTF-32");
}

TEST_F(TextFile, ThatCannotBeReadIsAnErrorThatSaysWhy) {
    EXPECT_EQ(OVTextFile::read(folder.at("none"), calls).error, "No such file or directory");
    EXPECT_EQ(OVTextFile::read(std::nullopt, calls).error, "No such file or directory");
    EXPECT_EQ(OVTextFile::read(folder.path, calls).error, "Is a directory");
    EXPECT_EQ(OVTextFile::read(folder.path, calls).text, std::nullopt);
    calls.fail("open", EACCES);
    EXPECT_EQ(read("text").error, "Permission denied");
}

TEST_F(TextFile, IsOpenedAgainAfterAnInterruption) {
    calls.fail("open", EINTR, 2);
    EXPECT_EQ(read("text").text, "text");
}

TEST_F(TextFile, IsReadOnAfterAnInterruption) {
    const std::string large(10000, 'x');
    calls.fail("read", EINTR, 2, 1);
    EXPECT_EQ(read(large).text, large);
}

TEST_F(TextFile, WhoseReadingFailsIsAnError) {
    calls.fail("read", EIO, 1, 1);
    const OVTextFile file = read(std::string(10000, 'x'));
    EXPECT_EQ(file.text, std::nullopt);
    EXPECT_EQ(file.error, "Input/output error");
}

TEST_F(TextFile, IsClosedAgain) {
    EXPECT_EQ(read("text").error, "");
    EXPECT_EQ(OVTextFile::read(folder.path, calls).text, std::nullopt);
    EXPECT_EQ(std::count(calls.order.begin(), calls.order.end(), "open"), 2);
    EXPECT_EQ(std::count(calls.order.begin(), calls.order.end(), "close"), 2);
}

} // namespace
} // namespace orvane
