#pragma once

namespace orvane {

/// Takes the system's diagnostics instead of standard error and the system log, for instance to hand them to
/// an application's own `NSLog`. Called on whichever thread logs.
class OVLogSink {
  public:
    /// One message without date and process name, fit for one line. The text is the caller's, valid for the call only.
    virtual void logMessage(const char* message) = 0;

  protected:
    OVLogSink() = default;
    OVLogSink(const OVLogSink&) = default;
    OVLogSink& operator=(const OVLogSink&) = default;
    ~OVLogSink() = default;
};

/// Sends all further messages to `sink`, which must live until it is replaced; null brings back standard
/// error and the system log. Returns the sink replaced, null for the built-in one.
OVLogSink* OVSetLogSink(OVLogSink* sink);

/// `NSLog`: one diagnostic message, to standard error as one line written whole
/// ("2026-11-20 22:54:00.123 OrvaneTool[123:456] text", with process and thread number) and to the system
/// log. Never to standard output. Keeps `errno`.
///
/// Whatever the arguments hold, a message stays one line: control characters, separators of lines and paragraphs, what
/// turns the direction of writing, and bytes that are not UTF-8 come as octal numbers ("\\012").
void OVLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Reports a failed assertion through the log and ends the process with `abort`.
[[noreturn]] void OVAssertionFailed(const char* expression, const char* method, const char* file, int line);

} // namespace orvane

/// A message of a method: begins with the method's full Objective-C name (a literal) and the source line.
// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): only a macro knows the caller's line
#define OVLogMethod(method, format, ...)                                                                               \
    ::orvane::OVLog("%s [Line %d] " format, method, __LINE__ __VA_OPT__(, ) __VA_ARGS__)

/// Ends the process, in release builds too, when the condition does not hold; the report names the condition's text,
/// the method's full Objective-C name, the source file and the line. For programming errors only.
// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): only a macro knows the expression's text and the caller's line
#define OVAssert(condition, method)                                                                                    \
    ((condition) ? static_cast<void>(0) : ::orvane::OVAssertionFailed(#condition, method, __FILE_NAME__, __LINE__))
