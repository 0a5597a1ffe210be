#include "Platform/AppleScript.h"
#include "Tests/Cocoa/CocoaTestSupport.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace orvane::test {

namespace {

/// A search path on which only this folder stands.
class SearchPath {
  public:
    explicit SearchPath(const std::string& folder) : previous_(std::getenv("PATH")) {
        ::setenv("PATH", folder.c_str(), 1);
    }
    SearchPath(const SearchPath&) = delete;
    SearchPath& operator=(const SearchPath&) = delete;
    ~SearchPath() { ::setenv("PATH", previous_.c_str(), 1); }

  private:
    std::string previous_;
};

} // namespace

TEST(CocoaAppleScriptTest, FailsWhereNothingRunsScripts) {
    const TemporaryFolder folder;
    const SearchPath path(folder.path());

    EXPECT_FALSE(AppleScript::platform().execute("quit application \"Dock\""));
}

TEST(CocoaAppleScriptTest, HandsTheSourceOverAndSaysHowItEnded) {
    const TemporaryFolder folder;
    ASSERT_EQ(::chmod(folder
                          .write("osascript", "#!/bin/sh\nprintf '%s|' \"$@\" >\"${0%/*}/said\"\n"
                                              "case $2 in *fails*) exit 1;; esac\n")
                          .c_str(),
                      0755),
              0);
    const SearchPath path(folder.path());

    EXPECT_TRUE(AppleScript::platform().execute("quit \"gr\xC3\xBCn\"\ndelay 2"));
    EXPECT_EQ(folder.contents("said"), "-e|quit \"gr\xC3\xBCn\"\ndelay 2|");
    EXPECT_FALSE(AppleScript::platform().execute("this fails"));
}

} // namespace orvane::test
