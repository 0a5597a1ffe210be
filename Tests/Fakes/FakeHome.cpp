#include "Tests/Fakes/FakeHome.h"

#include <dlfcn.h>
#include <pwd.h>
#include <utility>

namespace orvane::test {

namespace {

char* fakeHome = nullptr;

} // namespace

FakeHome::FakeHome(std::string folder) : folder_(std::move(folder)), previous_(fakeHome) {
    fakeHome = folder_.data();
}

FakeHome::~FakeHome() {
    fakeHome = previous_;
}

} // namespace orvane::test

/// In the way of the C library's, which answers for everybody else.
extern "C" int getpwuid_r(uid_t userID, passwd* account, char* room, size_t size, passwd** found) {
    if (userID == orvane::test::FakeHome::kUser && orvane::test::fakeHome != nullptr) {
        *account = {};
        account->pw_dir = orvane::test::fakeHome;
        *found = account;
        return 0;
    }
    using LookUp = int (*)(uid_t, passwd*, char*, size_t, passwd**);
    return reinterpret_cast<LookUp>(::dlsym(RTLD_NEXT, "getpwuid_r"))(userID, account, room, size, found);
}
