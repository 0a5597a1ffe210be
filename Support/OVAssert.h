#pragma once

namespace orvane {

/// Reports a failed assertion through the log and ends the process with `abort`.
[[noreturn]] void OVAssertionFailed(const char* expression, const char* method, const char* file, int line);

} // namespace orvane

/// Ends the process, in release builds too, when the condition does not hold; the report names the
/// condition's text, the method's full Objective-C name, the source file and the line. For programming errors
/// only.
// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): only a macro knows the expression's text and the caller's
// line
#define OVAssert(condition, method)                                                                                    \
    ((condition) ? static_cast<void>(0) : ::orvane::OVAssertionFailed(#condition, method, __FILE_NAME__, __LINE__))
