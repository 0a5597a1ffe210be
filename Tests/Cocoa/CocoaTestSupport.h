#pragma once

#include "Platform/PropertyList.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

/// What the tests on a real screen share. The probe is a program of their own that plays the other process.
namespace orvane::test {

using Words = std::vector<std::string>;
using Variables = std::vector<std::pair<std::string, std::string>>;

struct Ended {
    int status = -1; ///< the exit code, -1 for any other end
    std::string output;
};

/// Runs a program to its end, with these variables set; its standard error is the test's.
Ended runProgram(const std::string& program, const Words& arguments, const Variables& variables = {});

/// The program that plays another process, where it was built.
std::string probePath();
/// Runs the probe to its end.
Ended runProbe(const Words& arguments, const Variables& variables = {});

/// Lets this thread's run loop run until the condition holds; false when it did not within ten seconds.
bool runLoopUntil(const std::function<bool()>& condition);

/// One line for each key, with the kind of the value, and of what it holds.
std::string describe(const PropertyListDictionary& dictionary);

/// A folder of its own, removed with the object.
class TemporaryFolder {
  public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::string& path() const { return path_; }
    /// Writes a file and the folders on the way to it; its path.
    std::string write(const std::string& name, const std::string& text) const;
    [[nodiscard]] std::string contents(const std::string& name) const;

    /// A copy of the probe there; its path.
    [[nodiscard]] std::string copyProbe(const std::string& name) const;
    /// An application of that name around the probe, with these lines in its information; its path.
    [[nodiscard]] std::string makeApplication(const std::string& name, const std::string& informationLines) const;

  private:
    std::string path_;
};

} // namespace orvane::test
