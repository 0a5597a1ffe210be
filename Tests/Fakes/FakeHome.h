#pragma once

#include <cstddef>
#include <pwd.h>
#include <string>
#include <sys/types.h>

namespace orvane::test {

/// Adds one user to the password database (`getpwuid_r`) of this process, so that what works on a real user's home
/// folder can be let loose on a folder of the test's. The last one made counts.
class FakeHome {
  public:
    static constexpr uid_t kUser = 4000000001U;

    explicit FakeHome(std::string folder);
    FakeHome(const FakeHome&) = delete;
    FakeHome& operator=(const FakeHome&) = delete;
    ~FakeHome();

    /// What `getpwuid_r` does for the user.
    int lookUp(passwd* account, char* room, std::size_t size, passwd** found);

    int interruptions = 0;     ///< how many look-ups a signal interrupts before one answers
    std::size_t leastRoom = 0; ///< what the account takes

  private:
    std::string folder_;
    FakeHome* previous_;
};

} // namespace orvane::test
