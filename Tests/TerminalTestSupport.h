#pragma once

#include "Terminal/CommandLine.h"

#include <cstdlib>
#include <ftw.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace orvane::terminal {

struct Ended {
    int status;
    std::string output;
    std::string errors;
};

/// orvane with these words, in this process and without a terminal.
inline Ended orvane(std::vector<std::string> words) {
    words.insert(words.begin(), "orvane");
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    const int status = runCommandLine(static_cast<int>(pointers.size()), pointers.data());
    std::string errors = ::testing::internal::GetCapturedStderr();
    return {status, ::testing::internal::GetCapturedStdout(), std::move(errors)};
}

/// What orvane records lies in a folder of the test's own.
class TerminalTest : public ::testing::Test {
  protected:
    void SetUp() override {
        folder_ = "/tmp/orvane-terminal.XXXXXX";
        ASSERT_NE(::mkdtemp(folder_.data()), nullptr);
        ::setenv("XDG_STATE_HOME", folder_.c_str(), 1);
    }
    void TearDown() override {
        ::nftw(
            folder_.c_str(),
            [](const char* entry, const struct stat* /*status*/, int /*type*/, FTW* /*place*/) {
                return ::remove(entry);
            },
            16, FTW_DEPTH | FTW_PHYS);
    }
    [[nodiscard]] const std::string& folder() const { return folder_; }

  private:
    std::string folder_;
};

} // namespace orvane::terminal
