#pragma once

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

  private:
    std::string folder_;
    char* previous_;
};

} // namespace orvane::test
