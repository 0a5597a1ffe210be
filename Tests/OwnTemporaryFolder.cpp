// Part of every test program: its temporary files lie in a folder of their own, what is left in it at the end fails the
// run by name, and then it is removed. ctest runs each test by itself, so that each is held to it.

#include <cstdlib>
#include <dirent.h>
#include <ftw.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane::test {
namespace {

class OwnTemporaryFolder final : public ::testing::Environment {
  public:
    void SetUp() override {
        const char* const parent = std::getenv("TMPDIR");
        path_ = std::string(parent != nullptr ? parent : "/tmp") + "/orvane-tests-XXXXXX";
        ASSERT_NE(::mkdtemp(path_.data()), nullptr) << path_;
        ASSERT_EQ(::chmod(path_.c_str(), 0755), 0); // tests start programs of other users
        ASSERT_EQ(::setenv("TMPDIR", path_.c_str(), 1), 0);
        process_ = ::getpid();
    }

    void TearDown() override {
        if (::getpid() != process_) { // a child that a test has started
            return;
        }
        EXPECT_EQ(entries(), "") << "left in the folder for temporary files";
        ::nftw(path_.c_str(), removeOne, 16, FTW_DEPTH | FTW_PHYS);
    }

  private:
    static int removeOne(const char* entry, const struct stat* /*status*/, int /*type*/, FTW* /*place*/) {
        return ::remove(entry);
    }

    std::string entries() const {
        std::string names;
        DIR* const directory = ::opendir(path_.c_str());
        while (const dirent* const entry = directory != nullptr ? ::readdir(directory) : nullptr) {
            const std::string_view name = static_cast<const char*>(entry->d_name);
            if (name != "." && name != "..") {
                names.append(name).append(" ");
            }
        }
        if (directory != nullptr) {
            ::closedir(directory);
        }
        return names;
    }

    std::string path_;
    pid_t process_ = 0;
};

// GoogleTest owns it.
[[maybe_unused]] const auto* const registered = ::testing::AddGlobalTestEnvironment(new OwnTemporaryFolder);

} // namespace
} // namespace orvane::test
