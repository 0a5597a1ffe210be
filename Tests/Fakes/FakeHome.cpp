#include "Tests/Fakes/FakeHome.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <pwd.h>
#include <utility>

namespace orvane::test {

namespace {

FakeHome* fakeHome = nullptr;

} // namespace

FakeHome::FakeHome(std::string folder) : folder_(std::move(folder)), previous_(fakeHome) {
    fakeHome = this;
}

FakeHome::~FakeHome() {
    fakeHome = previous_;
}

int FakeHome::lookUp(passwd* account, char* room, std::size_t size, passwd** found) {
    *found = nullptr;
    if (interruptions > 0) {
        --interruptions;
        return EINTR;
    }
    if (size < leastRoom || size <= folder_.size()) {
        return ERANGE;
    }
    *account = {};
    account->pw_dir = std::strcpy(room, folder_.c_str());
    *found = account;
    return 0;
}

} // namespace orvane::test

/// In the way of the C library's, which answers for everybody else.
extern "C" int getpwuid_r(uid_t userID, passwd* account, char* room, size_t size, passwd** found) {
    if (userID == orvane::test::FakeHome::kUser && orvane::test::fakeHome != nullptr) {
        return orvane::test::fakeHome->lookUp(account, room, size, found);
    }
    using LookUp = int (*)(uid_t, passwd*, char*, size_t, passwd**);
    return reinterpret_cast<LookUp>(::dlsym(RTLD_NEXT, "getpwuid_r"))(userID, account, room, size, found);
}
